#pragma once

#include <QtQmlIntegration/qqmlintegration.h>

#include <QColor>
#include <QObject>
#include <cstdint>

namespace sonvale::ui {

/// The colors of one theme.
struct Palette {
    Q_GADGET
    QML_VALUE_TYPE(themePalette)
    Q_PROPERTY(QColor window MEMBER window CONSTANT)
    Q_PROPERTY(QColor surface MEMBER surface CONSTANT)
    Q_PROPERTY(QColor raised MEMBER raised CONSTANT)
    Q_PROPERTY(QColor hairline MEMBER hairline CONSTANT)
    Q_PROPERTY(QColor fieldLine MEMBER fieldLine CONSTANT)
    Q_PROPERTY(QColor text MEMBER text CONSTANT)
    Q_PROPERTY(QColor secondaryText MEMBER secondaryText CONSTANT)
    Q_PROPERTY(QColor accent MEMBER accent CONSTANT)
    Q_PROPERTY(QColor textOnAccent MEMBER textOnAccent CONSTANT)
    Q_PROPERTY(QColor good MEMBER good CONSTANT)
    Q_PROPERTY(QColor caution MEMBER caution CONSTANT)
    Q_PROPERTY(QColor yellow MEMBER yellow CONSTANT)
    Q_PROPERTY(QColor danger MEMBER danger CONSTANT)
    Q_PROPERTY(QColor veil MEMBER veil CONSTANT)
    Q_PROPERTY(QColor ringGround MEMBER ringGround CONSTANT)
    Q_PROPERTY(QColor ringRest MEMBER ringRest CONSTANT)

public:
    QColor window;
    QColor surface;
    QColor raised;
    QColor hairline;
    QColor fieldLine;
    QColor text;
    QColor secondaryText; ///< in the light theme also the idle state in the tray
    QColor accent;        ///< in the light theme also the recording state in the tray
    QColor textOnAccent;  ///< in the light theme also the marks in the tray
    QColor good;          ///< in the light theme also the processing state in the tray
    QColor caution;
    QColor yellow; ///< for a symbol next to its words; too light for text
    QColor danger;
    QColor veil; ///< covers the page under a sheet
    QColor ringGround;
    QColor ringRest;
};

namespace palette {

/// Returns the color of 0xRRGGBB.
constexpr QColor rgb(std::uint32_t value, int alpha = 0xFF) {
    return {static_cast<int>(value >> 16 & 0xFF), static_cast<int>(value >> 8 & 0xFF),
            static_cast<int>(value & 0xFF), alpha};
}

inline constexpr QColor white = rgb(0xFFFFFF);
inline constexpr std::uint32_t ink = 0x14171C;
// The ring has a dark ground of its own in both themes, with the colors of the dark one.
inline constexpr QColor night = rgb(0x111318);
inline constexpr QColor mist = rgb(0xA3ACBA);

inline constexpr Palette light{
    .window = rgb(0xF6F7F9),
    .surface = white,
    .raised = rgb(0xF0F2F5),
    .hairline = rgb(0xE3E6EB),
    .fieldLine = rgb(0x828B9A),
    .text = rgb(ink),
    .secondaryText = rgb(0x5B6472),
    .accent = rgb(0x2A63F0),
    .textOnAccent = white,
    .good = rgb(0x177843),
    .caution = rgb(0x9A5B00),
    .yellow = rgb(0xEAB308),
    .danger = rgb(0xC0352B),
    .veil = rgb(ink, 0x59),
    .ringGround = night,
    .ringRest = mist,
};

inline constexpr Palette dark{
    .window = night,
    .surface = rgb(0x1A1D24),
    .raised = rgb(0x222630),
    .hairline = rgb(0x2D323D),
    .fieldLine = rgb(0x6B7484),
    .text = rgb(0xF2F4F8),
    .secondaryText = mist,
    .accent = rgb(0x6E9BFF),
    .textOnAccent = rgb(0x0B1220),
    .good = rgb(0x59D08E),
    .caution = rgb(0xF0B35A),
    .yellow = rgb(0xFACC15),
    .danger = rgb(0xFF7B72),
    .veil = rgb(0x000000, 0x99),
    .ringGround = night,
    .ringRest = mist,
};

} // namespace palette

} // namespace sonvale::ui
