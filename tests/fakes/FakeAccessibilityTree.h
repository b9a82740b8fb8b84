#pragma once

#include "platform/AccessibilityTree.h"

namespace sonvale::tests {

/// A grant that a test gives and takes away.
class FakeAccessibilityTree final : public platform::AccessibilityTree {
public:
    /// What only tests call.
    class Control {
    public:
        void setTrusted(bool isTrusted) { isTrusted_ = isTrusted; }
        /// How often the port was asked.
        int questions() const { return questions_; }

    private:
        friend class FakeAccessibilityTree;
        bool isTrusted_ = true;
        int questions_ = 0;
    };

    Control& control() { return control_; }

    bool isTrusted() override {
        ++control_.questions_;
        return control_.isTrusted_;
    }

private:
    Control control_;
};

} // namespace sonvale::tests
