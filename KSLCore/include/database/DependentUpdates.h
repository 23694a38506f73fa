// Collects rewrites of parameters that depend on changed objects.
#pragma once

#include "platform/ORVExport.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orv {

class KSLChangeList;
class ParamDefinition;
class TreeAndLeafReadModel;

namespace DependentUpdates_private {
struct ParamUpdate {
  std::string objectPath;
  std::string paramName;
  std::string value;
};
}  // namespace DependentUpdates_private

// Reports for one parameter are merged: its list keeps only the items that all reports name, sorted. Reports
// for objects that do not exist, or that would change nothing, leave no change. External and internal
// parameters are kept apart. Made for one pass of updating.
class ORV_API DependentUpdates {
 public:
  DependentUpdates();
  DependentUpdates(const DependentUpdates&) = delete;
  DependentUpdates& operator=(const DependentUpdates&) = delete;
  ~DependentUpdates();

  void setModifiedParam(const std::string& objectPath, const std::string& paramName, const std::string& value,
                        bool internal);

  // A parameter of which some list items name objects.
  struct References {
    struct Item {
      std::string path;  // of the object that it names; empty without one
      std::string text;
      bool going = false;
    };
    std::string value;        // the text of which these are the items
    std::vector<Item> items;  // sorted by path
    std::string whenEmpty;    // the value to take when no item is left
    bool internal = false;
    std::size_t reportedAt = 0;  // ObjectDB::changeCount then
  };
  // Notes that the object at a path, with all below it, is about to go, so that the parameter loses the items
  // that name it. What is made again until the changes are read stays; and when the parameter has another value
  // by then, it keeps that: replayed history brings the rewritten values along. `references` gives what the
  // parameter refers to, and is asked once for each value.
  void setGoing(const std::string& goingPath, const std::string& objectPath, const ParamDefinition& param,
                const std::function<References()>& references);

  // Whether nothing was reported.
  bool empty() const
  {
    return m_references.empty() && m_externalUpdates.empty() && m_internalUpdates.empty();
  }

  // The changes that the reports so far make on the model's present values, in path and name order. Owned by
  // the collector; valid until the next report. Computed once after a report; n log n in the reports.
  const KSLChangeList* getExternalChanges(const TreeAndLeafReadModel* model);
  const KSLChangeList* getInternalChanges(const TreeAndLeafReadModel* model);

 private:
  using ParamUpdate = DependentUpdates_private::ParamUpdate;
  void syncChangeLists(const TreeAndLeafReadModel* model);
  void settleReferences(const TreeAndLeafReadModel* model);
  static void consolidateUpdates(const TreeAndLeafReadModel* model, std::vector<ParamUpdate>& updates);

  std::map<std::pair<std::string, std::string>, References> m_references;  // by path and parameter
  std::vector<ParamUpdate> m_externalUpdates;
  std::vector<ParamUpdate> m_internalUpdates;
  bool m_synchronised = false;
  std::unique_ptr<KSLChangeList> m_externalChanges;  // both null until they are asked for
  std::unique_ptr<KSLChangeList> m_internalChanges;
};

}  // namespace orv
