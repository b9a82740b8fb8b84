#pragma once

// The header names a field with a word that C++ keeps for itself.
#pragma GCC diagnostic push
#ifdef __clang__
#pragma GCC diagnostic ignored "-Wkeyword-macro"
#endif
#define explicit explicitComponents
#include <xcb/xkb.h>
#undef explicit
#pragma GCC diagnostic pop
