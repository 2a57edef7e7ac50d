#pragma once
// The packed print format of a dictionary variable: type in bits 16-23, width in bits 8-15,
// decimals in bits 0-7.

#include <cstdint>

using KWEL_Format = std::int32_t;
