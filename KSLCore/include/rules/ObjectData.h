// What calculations keep with objects.
#pragma once

#include "platform/ORVExport.h"

namespace orv {

// What a calculation made that is no text: a mesh, a picture. A calculate library derives its own classes, and shares
// behind them (`std::shared_ptr<const Mesh>`) what others build on: any number of cuts hold one mesh then.
class ORV_API ObjectData {
 public:
  ObjectData() = default;
  ObjectData(const ObjectData&) = delete;
  ObjectData& operator=(const ObjectData&) = delete;
  virtual ~ObjectData();
};

}  // namespace orv
