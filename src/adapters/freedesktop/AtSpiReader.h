#pragma once

#include "adapters/freedesktop/AccessibilityBus.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sonvale::adapters::freedesktop {

/// Reads what a program reports to assistive technology: AT-SPI 2, the interfaces Accessible, Collection and
/// Text of org.a11y.atspi. One thread at a time. The bus must outlive it.
class AtSpiReader {
public:
    explicit AtSpiReader(AccessibilityBus& bus)
        : bus_(bus) {}

    /// Returns the text that is selected in the element of this process that has the keyboard focus. Returns
    /// nullopt if nothing is selected, at the deadline, and if the program does not report the text: not at
    /// all, only dots (a password), or with objects in it that have no characters here.
    std::optional<std::string> selectedText(std::int32_t processId, double deadline);

private:
    /// One object of one program.
    struct Element {
        std::string program; ///< its name on the bus
        std::string path;
    };

    DBusMessagePointer call(const Element& element, const char* interface, const char* method) const;
    static std::vector<Element> elementsIn(DBusMessage* answer);

    std::vector<Element> programsOf(std::int32_t processId, double deadline);
    std::optional<Element> focusedElement(const Element& program, double deadline);
    std::optional<Element> searchForFocus(const Element& program, double deadline);
    std::optional<std::string> selectionOf(const Element& element, double deadline);

    AccessibilityBus& bus_;
};

} // namespace sonvale::adapters::freedesktop
