#pragma once

#include "platform/SyntheticInput.h"
#include "platform/linux/SyntheticKeyLedger.h"
#include "platform/linux/TerminalPrograms.h"
#include "platform/linux/X11Connection.h"

#include <functional>
#include <memory>
#include <string>

namespace sonvale::platform::linux {

struct KeyChord;
class X11KeyboardMap;

/// Synthetic keys through XTEST.
///
/// The connection is made at construction. `pressPaste` chooses the keys by the WM_CLASS of the window that
/// has the keyboard. In a terminal `pressUndo` presses Control-underscore, the undo of line editors:
/// Control-Z would stop the program that runs there.
class X11SyntheticInput final : public SyntheticInput {
public:
    /// `offerPrimary` is called inside `pressPaste`, only for programs that paste PRIMARY: it has to make the
    /// pasteboard's text the PRIMARY selection before it returns. An empty display name means that of the
    /// environment.
    X11SyntheticInput(const runtime::Clock& clock, std::shared_ptr<SyntheticKeyLedger> ledger,
                      std::function<void()> offerPrimary, const std::string& displayName = {});

    /// Whether keys can be sent at all.
    bool isUsable() const { return connection_ && !connection_->isBroken(); }

    void pressPaste() override;
    void pressUndo() override;

private:
    PasteCustom customOfFocusedProgram(double deadline);
    void press(const KeyChord& chord, double deadline);
    void rouseUserKeyboard(const X11Keyboards& keyboards, const X11KeyboardMap& map);
    double beginPress();

    const std::shared_ptr<SyntheticKeyLedger> ledger_;
    const std::function<void()> offerPrimary_;
    std::unique_ptr<X11Connection> connection_;
};

} // namespace sonvale::platform::linux
