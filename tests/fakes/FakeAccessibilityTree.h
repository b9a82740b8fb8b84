#pragma once

#include "platform/AccessibilityTree.h"

#include <optional>
#include <string>
#include <utility>

namespace sonvale::tests {

/// A permission that a test gives and removes.
class FakeAccessibilityTree final : public platform::AccessibilityTree {
public:
    /// The operations for tests.
    class Control {
    public:
        void setTrusted(bool isTrusted) { isTrusted_ = isTrusted; }
        /// Sets the selected text of the front application; nullopt if nothing is selected.
        void setSelectedText(std::optional<std::string> text) { selectedText_ = std::move(text); }
        /// Returns the number of questions whether the program is trusted.
        int questions() const { return questions_; }
        /// Returns the number of prompts for the user.
        int prompts() const { return prompts_; }

    private:
        friend class FakeAccessibilityTree;
        bool isTrusted_ = true;
        int questions_ = 0;
        int prompts_ = 0;
        std::optional<std::string> selectedText_;
    };

    Control& control() { return control_; }

    bool isTrusted() override {
        ++control_.questions_;
        return control_.isTrusted_;
    }

    bool isTrustedWithPrompt() override {
        if (!control_.isTrusted_)
            ++control_.prompts_;
        return control_.isTrusted_;
    }

    std::optional<std::string> selectedText() override { return control_.selectedText_; }

private:
    Control control_;
};

} // namespace sonvale::tests
