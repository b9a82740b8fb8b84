#pragma once

#include "platform/Pasteboard.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

namespace sonvale::tests {

/// A pasteboard and its session, in which other programs copy and paste.
class PasteboardHarness {
public:
    PasteboardHarness() = default;
    PasteboardHarness(const PasteboardHarness&) = delete;
    PasteboardHarness& operator=(const PasteboardHarness&) = delete;
    virtual ~PasteboardHarness() = default;

    virtual platform::Pasteboard& pasteboard() = 0;

    /// Copies plain text as another program does.
    virtual void copyTextElsewhere(const std::string& text) = 0;
    /// Copies data of one form as another program does.
    virtual void copyElsewhere(const platform::PasteboardItem::Representation& form) = 0;
    /// Empties the pasteboard as another program does.
    virtual void clearElsewhere() = 0;
    /// Returns what another program would paste as plain text.
    virtual std::optional<std::string> textElsewhere() = 0;
    /// Returns what another program would paste of this form.
    virtual std::optional<std::vector<std::byte>> dataElsewhere(const std::string& type) = 0;
    /// Removes the system.
    virtual void breakSystem() = 0;
};

struct PasteboardMaker {
    std::string name;
    std::function<std::unique_ptr<PasteboardHarness>()> make;
};

class PasteboardContract : public testing::TestWithParam<PasteboardMaker> {
protected:
    std::unique_ptr<PasteboardHarness> harness = GetParam().make();
    platform::Pasteboard& pasteboard = harness->pasteboard();
};

} // namespace sonvale::tests
