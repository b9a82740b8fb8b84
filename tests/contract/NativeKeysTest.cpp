#include "adapters/x11/keys/X11NativeKeys.h"

#include "tests/fakes/FakeNativeKeys.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/TestKeyboard.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

namespace sonvale::tests {

namespace {

/// The Mac key codes of the keys of a real keyboard with the US layout.
template <class Keys>
class NativeKeysContract : public testing::Test {
protected:
    int codeOf(unsigned long keysym) { return keys_.virtualKeyCode(keyboard_.keycodeOf(keysym)); }
    const Keys& keys() const { return keys_; }

private:
    static PrivateDisplay& display() {
        static PrivateDisplay instance(WindowManager::openbox);
        return instance;
    }
    TestKeyboard keyboard_{display().name(), TestKeyboard::Source::xtest};
    Keys keys_;
};

TYPED_TEST_SUITE_P(NativeKeysContract);

TYPED_TEST_P(NativeKeysContract, KnowsTheLettersByTheirPlace) {
    constexpr std::pair<unsigned long, int> letters[] = {
        {XK_a, 0},  {XK_b, 11}, {XK_c, 8},  {XK_d, 2},  {XK_e, 14}, {XK_f, 3},  {XK_g, 5},
        {XK_h, 4},  {XK_i, 34}, {XK_j, 38}, {XK_k, 40}, {XK_l, 37}, {XK_m, 46}, {XK_n, 45},
        {XK_o, 31}, {XK_p, 35}, {XK_q, 12}, {XK_r, 15}, {XK_s, 1},  {XK_t, 17}, {XK_u, 32},
        {XK_v, 9},  {XK_w, 13}, {XK_x, 7},  {XK_y, 16}, {XK_z, 6},
    };
    for (const auto& [keysym, code] : letters)
        EXPECT_EQ(this->codeOf(keysym), code) << static_cast<char>(keysym);
}

TYPED_TEST_P(NativeKeysContract, KnowsTheKeysWithAMeaningInHotkeyRecording) {
    EXPECT_EQ(this->codeOf(XK_Escape), 53);
    EXPECT_EQ(this->codeOf(XK_space), 49);
    EXPECT_EQ(this->codeOf(XK_Tab), 48);
    EXPECT_EQ(this->codeOf(XK_Return), 36);
    EXPECT_EQ(this->codeOf(XK_Caps_Lock), 57);
}

TYPED_TEST_P(NativeKeysContract, DistinguishesLeftAndRightModifiers) {
    EXPECT_EQ(this->codeOf(XK_Shift_L), 56);
    EXPECT_EQ(this->codeOf(XK_Shift_R), 60);
    EXPECT_EQ(this->codeOf(XK_Control_L), 59);
    EXPECT_EQ(this->codeOf(XK_Control_R), 62);
    EXPECT_EQ(this->codeOf(XK_Alt_L), 58);
    EXPECT_EQ(this->codeOf(XK_Alt_R), 61);
    EXPECT_EQ(this->codeOf(XK_Super_L), 55);
    EXPECT_EQ(this->codeOf(XK_Super_R), 54);
}

TYPED_TEST_P(NativeKeysContract, KnowsNoMissingKeys) {
    for (const std::uint32_t scanCode : {0U, 1U, 7U, 255U, 256U, 265U, 0xFFFFFFFFU})
        EXPECT_EQ(this->keys().virtualKeyCode(scanCode), -1) << scanCode;
}

REGISTER_TYPED_TEST_SUITE_P(NativeKeysContract, KnowsTheLettersByTheirPlace,
                            KnowsTheKeysWithAMeaningInHotkeyRecording, DistinguishesLeftAndRightModifiers,
                            KnowsNoMissingKeys);

} // namespace

using NativeKeysKinds = testing::Types<FakeNativeKeys, adapters::x11::X11NativeKeys>;
INSTANTIATE_TYPED_TEST_SUITE_P(Kinds, NativeKeysContract, NativeKeysKinds);

} // namespace sonvale::tests
