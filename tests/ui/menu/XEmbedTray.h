#pragma once

#include <QImage>
#include <memory>

namespace sonvale::tests {

/// A panel's system tray after the freedesktop.org system tray protocol (XEmbed), on the private display. It
/// works while `poll()` is called.
class XEmbedTray {
public:
    /// The tray's ground is `color`, 0xRRGGBB.
    explicit XEmbedTray(unsigned long color);
    ~XEmbedTray();
    XEmbedTray(const XEmbedTray&) = delete;
    XEmbedTray& operator=(const XEmbedTray&) = delete;

    /// Takes in icons that ask for it; the number it has.
    int poll();
    /// The place of the one icon, 22 by 22, as it is seen.
    QImage icon();
    void click();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sonvale::tests
