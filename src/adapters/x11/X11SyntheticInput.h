#pragma once

#include "adapters/x11/SyntheticKeyLedger.h"
#include "adapters/x11/X11Keyboards.h"

#include "platform/SyntheticInput.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace sonvale::adapters::x11 {

struct KeyChord;

/// Synthetic keys through XTEST.
///
/// The connection is made at construction. The keys are chosen by the WM_CLASS of the window that has the
/// keyboard, see `KeyStyle`. In a terminal and in Emacs `pressUndo` presses Control-underscore, the undo of
/// line editors; in gVim it presses nothing. `pressCopy` presses Control-Shift-C in a terminal, and only if
/// something is marked there, because some of them hand it on as Control-C otherwise; it presses nothing in
/// the xterm family, in Emacs and in gVim. On a keyboard without Latin letters Shift-Insert pastes and
/// Control-Insert copies; there is no such key for undo.
class X11SyntheticInput final : public platform::SyntheticInput {
public:
    /// `offerPrimary` is called inside `pressPaste`, only for programs that may paste PRIMARY: it has to make
    /// the pasteboard's text the PRIMARY selection before it returns. An empty display name means that of the
    /// environment.
    X11SyntheticInput(const runtime::Clock& clock, std::shared_ptr<SyntheticKeyLedger> ledger,
                      std::function<void()> offerPrimary, const std::string& displayName = {});

    /// Whether keys can be sent at all.
    bool isUsable() const { return extensions_ && connection_.isAlive(); }

    void pressPaste() override;
    void pressCopy() override;
    void pressUndo() override;

private:
    /// What has to be known before keys can be sent.
    struct Situation;

    std::optional<Situation> look(double deadline);
    std::string classOf(xcb_window_t window, double deadline);
    bool hasMarkedText(const Situation& situation, double deadline);
    void press(const KeyChord& chord, const Situation& situation, double deadline);
    void rouseUserKeyboard(const Situation& situation);

    const std::shared_ptr<SyntheticKeyLedger> ledger_;
    const std::function<void()> offerPrimary_;
    X11Connection connection_;
    const std::optional<X11KeyboardExtensions> extensions_; ///< absent if no key can be sent
};

} // namespace sonvale::adapters::x11
