#pragma once

#include "platform/Pasteboard.h"
#include "runtime/Clock.h"

#include <memory>
#include <string>

namespace sonvale::adapters::x11 {

/// The clipboard of an X session: the selection CLIPBOARD (ICCCM 2, the freedesktop clipboard convention).
///
/// It has its own connection and thread, so that it serves its contents while the rest of the program is
/// busy. Every target is kept as it is, with its type and format, except for targets that are not contents,
/// and for bitmaps that a PNG of the same picture replaces. A selection has no items: the contents of other
/// programs are read as one item, and other programs see each target of several items once.
///
/// Reading is bounded. It gives up on an owner after 10 s without an answer, or after 60 s in total. One copy
/// of up to 256 MB is held from `prefetch` until it is read, or until `dropPrefetch`. `items` waits for up to
/// 3 s. All missing forms have then been asked for, and owners answer that even after they have lost the
/// clipboard: the forms are added to the items when these are written back. Forms that never arrive are named
/// in the log.
///
/// Without a server, or after the connection has ended, reading returns nullopt and writing does nothing.
class X11Pasteboard final : public platform::Pasteboard {
public:
    /// Connects to `displayName`, or to DISPLAY if it is empty. The clock must outlive it.
    explicit X11Pasteboard(const runtime::Clock& clock, const std::string& displayName = {});
    /// Hands its contents to the session's clipboard manager if there is one, which takes up to 1 s.
    ~X11Pasteboard() override;

    std::int64_t changeCount() override;
    void prefetch() override;
    void dropPrefetch() override;
    std::optional<std::vector<platform::PasteboardItem>> items() override;
    void clearContents() override;
    void setString(const std::string& text) override;
    void writeItems(std::vector<platform::PasteboardItem> items) override;
    std::optional<std::string> string() override;

    /// Offers the present plain text as the selection PRIMARY too, until the contents are next cleared or
    /// written. Then PRIMARY has its earlier text again. It is for terminals of xterm's kind, whose
    /// Shift-Insert pastes PRIMARY. It must not be used for other programs: GTK's programs remove the user's
    /// selection when they lose PRIMARY. Does nothing if there is no plain text.
    void offerPrimary();

private:
    class Worker;

    std::int64_t lastCount_ = 0; ///< returned if the server does not answer
    std::unique_ptr<Worker> worker_;
};

} // namespace sonvale::adapters::x11
