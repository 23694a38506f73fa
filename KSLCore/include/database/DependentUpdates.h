// Collects rewrites of parameters that depend on changed objects.
#pragma once

#include "platform/ORVExport.h"

#include <memory>
#include <string>
#include <vector>

namespace orv {

class KSLChangeList;
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
  // The changes that the reports so far make on the model's present values, in path and name order. Owned by
  // the collector; valid until the next report. Computed once after a report; n log n in the reports.
  const KSLChangeList* getExternalChanges(const TreeAndLeafReadModel* model);
  const KSLChangeList* getInternalChanges(const TreeAndLeafReadModel* model);

 private:
  using ParamUpdate = DependentUpdates_private::ParamUpdate;
  void syncChangeLists(const TreeAndLeafReadModel* model);
  static void consolidateUpdates(const TreeAndLeafReadModel* model, std::vector<ParamUpdate>& updates);

  std::vector<ParamUpdate> m_externalUpdates;
  std::vector<ParamUpdate> m_internalUpdates;
  bool m_synchronised = true;
  std::unique_ptr<KSLChangeList> m_externalChanges;
  std::unique_ptr<KSLChangeList> m_internalChanges;
};

}  // namespace orv
