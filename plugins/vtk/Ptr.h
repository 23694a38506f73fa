// VTK's objects count their holders.
#pragma once

#include <vtkSmartPointer.h>

namespace results {

template <class T>
using Ptr = vtkSmartPointer<T>;

template <class T>
Ptr<T> make()
{
  return Ptr<T>::New();
}

}  // namespace results
