#include "platform/ORVAbstractDataModels.h"

namespace orv {

TreeAndLeafReadModel::~TreeAndLeafReadModel() = default;

}  // namespace orv
