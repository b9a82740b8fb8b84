#pragma once

#include "adapters/x11/selections/X11Pasteboard.h"

#include "runtime/SystemClock.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/SelectionOwner.h"
#include "tests/support/SelectionRequestor.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <map>
#include <stdexcept>

namespace sonvale::adapters::x11 {

/// The most bytes of a transfer that is not divided. Larger ones are incremental (ICCCM 2.7.2).
inline constexpr std::size_t largestWhole = std::size_t{256} * 1024;

/// A clipboard in a private session, and the other programs of that session.
class X11PasteboardTest : public testing::Test {
protected:
    const std::string& displayName() { return display->name(); }
    tests::SelectionRequestor otherProgram() { return tests::SelectionRequestor(displayName()); }

    void setText(const std::string& text) {
        pasteboard->clearContents();
        pasteboard->setString(text);
    }

    /// Returns the forms of the only item, by name.
    std::map<std::string, platform::PasteboardItem::Representation> readForms() {
        std::map<std::string, platform::PasteboardItem::Representation> forms;
        const auto items = pasteboard->items();
        if (!items || items->size() > 1)
            throw std::runtime_error("not one item");
        for (const auto& item : *items) {
            for (const auto& form : item.representations)
                forms.emplace(form.type, form);
        }
        return forms;
    }

    std::vector<std::string> readTypes() {
        std::vector<std::string> types;
        for (const auto& [type, form] : readForms())
            types.push_back(type);
        return types;
    }

    runtime::SystemClock clock;
    std::unique_ptr<tests::PrivateDisplay> display = std::make_unique<tests::PrivateDisplay>();
    std::unique_ptr<X11Pasteboard> pasteboard = std::make_unique<X11Pasteboard>(clock, display->name());
};

inline double secondsOf(const std::function<void()>& work) {
    const double start = tests::monotonicSeconds();
    work();
    return tests::monotonicSeconds() - start;
}

} // namespace sonvale::adapters::x11
