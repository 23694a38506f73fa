// What calculations keep with objects.
#pragma once

#include "platform/ORVExport.h"
#include "platform/ORVResultMemory.h"

namespace orv {

// What a calculation made that is no text: a mesh, a picture. A calculate library derives its own classes, and shares
// behind them (`std::shared_ptr<const Mesh>`) what others build on: any number of cuts hold one mesh then.
class ORV_API ObjectData {
 public:
  // Unlike any other: what is computed from this one is computed anew each time that this one is.
  ObjectData() : m_key(ResultKey::unique()) {}
  // Of what was found, or can be found again, in the ResultMemory.
  explicit ObjectData(const ResultKey& key) : m_key(key) {}
  ObjectData(const ObjectData&) = delete;
  ObjectData& operator=(const ObjectData&) = delete;
  virtual ~ObjectData();

  // What it was computed from.
  const ResultKey& getKey() const noexcept { return m_key; }

 private:
  const ResultKey m_key;
};

}  // namespace orv
