#include "platform/ORVAbstractDataModels.h"

namespace orv {

TreeVisitor::~TreeVisitor() = default;
TreeAndLeafReadModel::~TreeAndLeafReadModel() = default;

}  // namespace orv
