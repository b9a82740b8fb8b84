#pragma once

#include "platform/Pasteboard.h"
#include "runtime/Clock.h"

#include <memory>
#include <string>

namespace sonvale::adapters::x11 {

/// The clipboard of an X session: the selection CLIPBOARD (ICCCM 2, the freedesktop clipboard convention).
///
/// It has a connection and a thread of its own, so that what it holds is served while the rest of the program
/// is busy. Every target is kept as it is, with its type and format, but for those that are no contents;
/// bitmaps that a PNG of the same picture replaces are left out. A selection has no items: what others own
/// reads as one item, and of several items others see each target once.
///
/// Reading is bounded. An owner is given up after 10 s without an answer, or 60 s altogether. One copy of at
/// most 256 MB is held from `prefetch` until it is read, or until `dropPrefetch`. `items` waits 3 s at most.
/// What is missing then has been asked for, and owners answer that even after they have lost the clipboard:
/// it is added to the items once they are written back. Forms that never arrive are named in the log.
///
/// Without a server, or once it has gone, reading answers with nothing and writing does nothing.
class X11Pasteboard final : public platform::Pasteboard {
public:
    /// Connects to `displayName`, or to DISPLAY when it is empty. The clock must outlive it.
    explicit X11Pasteboard(const runtime::Clock& clock, const std::string& displayName = {});
    /// Hands what it holds over to the session's clipboard manager, when there is one; 1 s at most for that.
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
    /// written. Then PRIMARY has the text again that it had before. For terminals of xterm's kind, whose
    /// Shift-Insert pastes that one; for others it must not be taken, since GTK's programs then drop what the
    /// user has selected. Does nothing if there is no plain text.
    void offerPrimary();

private:
    class Worker;

    std::int64_t lastCount_ = 0; ///< what is told when the server does not answer
    std::unique_ptr<Worker> worker_;
};

} // namespace sonvale::adapters::x11
