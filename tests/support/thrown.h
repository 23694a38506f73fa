// Exceptions as data.
#pragma once

#include "platform/ORVError.h"

#include <gtest/gtest.h>
#include <typeinfo>

namespace orv {

// What the call throws, which must be exactly of the class given.
template <class Exception, class Call>
ErrorMsg thrown(Call call)
{
  try {
    call();
  } catch (const Error& error) {
    EXPECT_EQ(typeid(error).name(), typeid(Exception).name()) << error.what();
    return ErrorMsg(error);
  }
  ADD_FAILURE() << "nothing was thrown";
  return {};
}

}  // namespace orv
