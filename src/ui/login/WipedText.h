#pragma once

#include <strings.h>

#include <QString>

namespace sonvale::ui {

/// Returns a copy of `text` that shares its memory with no other string.
inline QString unsharedCopy(const QString& text) {
    return QString(text.constData(), text.size());
}

/// Overwrites the characters in their place and empties the text. A text with shared memory is only emptied,
/// because overwriting it would change the other strings too.
inline void wipe(QString& text) {
    if (text.isDetached())
        explicit_bzero(text.data(), static_cast<std::size_t>(text.size()) * sizeof(QChar));
    text.truncate(0);
}

} // namespace sonvale::ui
