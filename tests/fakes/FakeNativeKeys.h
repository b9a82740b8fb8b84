#pragma once

#include "platform/NativeKeys.h"

#include <map>

namespace sonvale::tests {

/// A small keyboard with the key codes of X11: the letters, Escape, Space, Tab, Return, F5, and the modifiers
/// of both sides.
class FakeNativeKeys final : public platform::NativeKeys {
public:
    int virtualKeyCode(std::uint32_t scanCode) const override {
        const auto key = keys_.find(scanCode);
        return key == keys_.end() ? -1 : key->second;
    }

private:
    const std::map<std::uint32_t, int> keys_{
        {9, 53},  {23, 48}, {36, 36},  {65, 49}, {71, 96},  {24, 12},  {25, 13},  {26, 14},
        {27, 15}, {28, 17}, {29, 16},  {30, 32}, {31, 34},  {32, 31},  {33, 35},  {38, 0},
        {39, 1},  {40, 2},  {41, 3},   {42, 5},  {43, 4},   {44, 38},  {45, 40},  {46, 37},
        {52, 6},  {53, 7},  {54, 8},   {55, 9},  {56, 11},  {57, 45},  {58, 46},  {50, 56},
        {62, 60}, {37, 59}, {105, 62}, {64, 58}, {108, 61}, {133, 55}, {134, 54}, {66, 57},
    };
};

} // namespace sonvale::tests
