#pragma once

#include "platform/Workspace.h"

#include <utility>

namespace sonvale::tests {

/// A desktop whose front application a test chooses.
class FakeWorkspace final : public platform::Workspace {
public:
    /// What only tests call.
    class Control {
    public:
        void setFrontmost(std::optional<platform::FrontApplication> application) {
            application_ = std::move(application);
        }
        /// How often the port was asked.
        int questions() const { return questions_; }

    private:
        friend class FakeWorkspace;
        std::optional<platform::FrontApplication> application_;
        int questions_ = 0;
    };

    Control& control() { return control_; }

    std::optional<platform::FrontApplication> frontmostApplication() override {
        ++control_.questions_;
        return control_.application_;
    }

private:
    Control control_;
};

} // namespace sonvale::tests
