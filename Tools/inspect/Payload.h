// What is inside of some boxes, as named values. A type gets its reader by a row in the table of Payload.cpp.

#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "Platform/Common/LuBase.h"

/// One value of a box. Numbers are printed as they stand, texts quoted where the format asks for it.
struct PayloadField {
    std::string name;
    std::string value;
    bool isNumber = false;
};

/// The values inside a box; `data` is what stands behind its header. None for a type without a reader.
std::vector<PayloadField> readPayload(OSType type, std::span<const uint8_t> data);
