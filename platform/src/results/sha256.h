// The hash function SHA-256 (FIPS 180-4).
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace orv {

std::array<std::uint32_t, 8> sha256(std::string_view bytes);

}  // namespace orv
