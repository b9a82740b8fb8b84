#pragma once

#include "adapters/x11/keys/SyntheticKeyLedger.h"
#include "adapters/x11/keys/X11Keyboards.h"

#include "platform/SyntheticInput.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace sonvale::adapters::x11 {

struct KeyChord;

/// Synthetic keys through XTEST.
///
/// Connects at construction. Chooses the keys by the WM_CLASS of the window that has the keyboard, see
/// `KeyStyle`. In a terminal and in Emacs `pressUndo` presses Control-underscore, the undo of line editors;
/// in gVim it presses nothing. In a terminal `pressCopy` presses Control-Shift-C, and only if text is marked
/// there, because some terminals otherwise pass it on as Control-C. It presses nothing in the xterm family,
/// in Emacs and in gVim. On a keyboard without Latin letters Shift-Insert pastes and Control-Insert copies;
/// there is no such key for undo.
class X11SyntheticInput final : public platform::SyntheticInput {
public:
    /// `offerPrimary` is called inside `pressPaste`, only for programs that may paste PRIMARY. It must make
    /// the pasteboard's text the PRIMARY selection before it returns. An empty display name means the display
    /// of the environment.
    X11SyntheticInput(const runtime::Clock& clock, std::shared_ptr<SyntheticKeyLedger> ledger,
                      std::function<void()> offerPrimary, const std::string& displayName = {});

    /// Returns whether keys can be sent.
    bool isUsable() const { return extensions_ && connection_.isAlive(); }

    void pressPaste() override;
    void pressCopy() override;
    void pressUndo() override;

private:
    /// What must be known before keys can be sent.
    struct Situation;

    std::optional<Situation> readSituation();
    std::string classOf(xcb_window_t window, double deadline);
    bool hasMarkedText(const Situation& situation);
    void press(const KeyChord& chord, const Situation& situation);
    void switchToUserKeyboard(const Situation& situation);

    const std::shared_ptr<SyntheticKeyLedger> ledger_;
    const std::function<void()> offerPrimary_;
    X11Connection connection_;
    const std::optional<X11KeyboardExtensions> extensions_; ///< absent if no key can be sent
};

} // namespace sonvale::adapters::x11
