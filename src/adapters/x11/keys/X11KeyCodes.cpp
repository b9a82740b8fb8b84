#include "adapters/x11/keys/X11KeyCodes.h"

#include <array>

namespace sonvale::adapters::x11 {

namespace {

struct Pair {
    xcb_keycode_t x;
    int mac;
};

// clang-format off
constexpr Pair pairs[] = {
    // Escape and the row of digits
    {9, 53},
    {49, 50}, {10, 18}, {11, 19}, {12, 20}, {13, 21}, {14, 23}, {15, 22}, {16, 26}, {17, 28}, {18, 25}, {19, 29},
    {20, 27}, {21, 24}, {22, 51},
    // Tab and the rows of letters
    {23, 48}, {24, 12}, {25, 13}, {26, 14}, {27, 15}, {28, 17}, {29, 16}, {30, 32}, {31, 34}, {32, 31}, {33, 35},
    {34, 33}, {35, 30}, {36, 36},
    {66, 57}, {38, 0}, {39, 1}, {40, 2}, {41, 3}, {42, 5}, {43, 4}, {44, 38}, {45, 40}, {46, 37}, {47, 41}, {48, 39},
    {51, 42},
    {50, 56}, {94, 10}, {52, 6}, {53, 7}, {54, 8}, {55, 9}, {56, 11}, {57, 45}, {58, 46}, {59, 43}, {60, 47}, {61, 44},
    {62, 60},
    // The lowest row
    {37, 59}, {133, 55}, {64, 58}, {65, 49}, {108, 61}, {134, 54}, {135, 110}, {105, 62},
    // F1 to F12
    {67, 122}, {68, 120}, {69, 99}, {70, 118}, {71, 96}, {72, 97}, {73, 98}, {74, 100}, {75, 101}, {76, 109}, {95, 103},
    {96, 111},
    // F13 to F20; PC keyboards have Print, Scroll Lock and Pause where F13 to F15 are
    {191, 105}, {107, 105}, {192, 107}, {78, 107}, {193, 113}, {127, 113}, {194, 106}, {195, 64}, {196, 79}, {197, 80},
    {198, 90},
    // Insert (Help), Home, Page Up, Delete, End, Page Down, arrows
    {118, 114}, {110, 115}, {112, 116}, {119, 117}, {115, 119}, {117, 121},
    {113, 123}, {114, 124}, {116, 125}, {111, 126},
    // Keypad; Num Lock is where Clear is
    {77, 71}, {106, 75}, {63, 67}, {82, 78}, {86, 69}, {104, 76}, {91, 65}, {125, 81},
    {90, 82}, {87, 83}, {88, 84}, {89, 85}, {83, 86}, {84, 87}, {85, 88}, {79, 89}, {80, 91}, {81, 92},
    // Keys of Japanese keyboards
    {132, 93}, {97, 94}, {103, 95}, {129, 95}, {131, 102}, {130, 104},
    // Sound
    {123, 72}, {122, 73}, {121, 74},
};
// clang-format on

constexpr std::array<int, 256> makeTable() {
    std::array<int, 256> table{};
    for (auto& code : table)
        code = -1;
    for (const auto& pair : pairs)
        table[pair.x] = pair.mac;
    return table;
}

constexpr auto table = makeTable();

} // namespace

int virtualKeyCode(xcb_keycode_t keycode) {
    return table[keycode];
}

std::vector<xcb_keycode_t> keycodesOf(int virtualKeyCode) {
    std::vector<xcb_keycode_t> result;
    for (const auto& pair : pairs) {
        if (pair.mac == virtualKeyCode)
            result.push_back(pair.x);
    }
    return result;
}

} // namespace sonvale::adapters::x11
