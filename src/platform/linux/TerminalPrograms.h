#pragma once

#include <string_view>

namespace sonvale::platform::linux {

/// How a program pastes.
enum class PasteCustom {
    controlV,             ///< ordinary applications
    controlShiftV,        ///< terminals, where Control-V types a control character
    shiftInsertOfPrimary, ///< the xterm family, which has no key for the clipboard, only for PRIMARY
};

/// By the class of WM_CLASS of the program's window, in any case.
PasteCustom pasteCustomOf(std::string_view windowClass);

/// How a program copies.
enum class CopyCustom {
    controlC,      ///< ordinary applications
    controlShiftC, ///< terminals, where Control-C ends the running program
    none,          ///< the xterm family, which has no key for it; editors in which Control-C begins a command
};

/// By the class of WM_CLASS of the program's window, in any case.
CopyCustom copyCustomOf(std::string_view windowClass);

} // namespace sonvale::platform::linux
