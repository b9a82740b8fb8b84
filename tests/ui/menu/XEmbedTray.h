#pragma once

#include <QImage>
#include <memory>

namespace sonvale::tests {

/// The system tray of a panel by the freedesktop.org system tray protocol (XEmbed), on the private display.
/// It works only inside `poll()`.
class XEmbedTray {
public:
    /// `color` (0xRRGGBB) is the background of the tray.
    explicit XEmbedTray(unsigned long color);
    ~XEmbedTray();
    XEmbedTray(const XEmbedTray&) = delete;
    XEmbedTray& operator=(const XEmbedTray&) = delete;

    /// Embeds the icons that ask for it. Returns the number of icons.
    int poll();
    /// Returns the visible content of the only icon, 22 by 22.
    QImage icon();
    void click();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sonvale::tests
