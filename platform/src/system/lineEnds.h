#pragma once

#include <string>

namespace orv {

void dropCarriageReturns(std::string& text);  // those before a line end

}  // namespace orv
