// What a command changed, for a host that refreshes its views.
#pragma once

#include "platform/ORVExport.h"

#include <list>
#include <map>
#include <string>
#include <utility>

namespace orv {

// The changes of the command that ran last, to be replayed in order: values, then deletions, then values
// again, and so on. Given out by KSLCoreAPI::getUpdateInfo; never owned by its reader.
class ORV_API KSLUpdateInfo {
 public:
  enum UpdateType {
    noUpdate = 0,  // of no item
    paramValueUpdate = 1,
    objectDeleteUpdate = 2,
    paramDeleteUpdate = 3
  };

  // A default-made one stands for a parameter that was removed.
  struct ParamValStatus {
    std::string value;  // as stored
    bool set = false;
    bool internal = true;

    bool operator==(const ParamValStatus& other) const
    {
      return value == other.value && set == other.set && internal == other.internal;
    }
  };
  using ParamValues = std::map<std::string, ParamValStatus>;  // by parameter name

  // Changes of one kind with none of another kind in between.
  struct UpdateItem {
    UpdateType type = noUpdate;
    // By object path. For a deletion only the paths count: an object that is gone with all below it.
    std::map<std::string, ParamValues> objects;

    bool operator==(const UpdateItem& other) const { return type == other.type && objects == other.objects; }
  };
  using UpdateList = std::list<UpdateItem>;

  // Forgets the items and begins the next recording. The core API does so when an outermost command begins.
  virtual void reset() = 0;
  // Numbers the recordings.
  virtual int getCurrentID() const = 0;
  // Whether a reader that last read the items under this number has missed none since. Recordings without
  // any change do not count, on purpose. What the recording now under way holds is for the reader to read.
  virtual bool isSynchronised(int id) const = 0;
  // From the first item to the end, in the order made. Good until the next change or reset.
  virtual std::pair<UpdateList::const_iterator, UpdateList::const_iterator> getUpdates() const = 0;

 protected:
  ~KSLUpdateInfo() = default;  // nobody deletes through this interface
};

}  // namespace orv
