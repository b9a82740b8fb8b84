#pragma once

#include "platform/AccessibilityTree.h"

#include <optional>
#include <string>
#include <utility>

namespace sonvale::tests {

/// A grant that a test gives and takes away.
class FakeAccessibilityTree final : public platform::AccessibilityTree {
public:
    /// What only tests call.
    class Control {
    public:
        void setTrusted(bool isTrusted) { isTrusted_ = isTrusted; }
        /// What is selected in the front application; it does not tell of nothing.
        void setSelectedText(std::optional<std::string> text) { selectedText_ = std::move(text); }
        /// How often the port was asked for its trust.
        int questions() const { return questions_; }
        /// How often the user was to be led to the grant.
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
