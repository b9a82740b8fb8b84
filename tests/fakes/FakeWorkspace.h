#pragma once

#include "platform/Workspace.h"

#include <boost/url/parse.hpp>

#include <utility>
#include <vector>

namespace sonvale::tests {

/// A desktop whose front application and user a test chooses, and which opens whatever it is given.
class FakeWorkspace final : public platform::Workspace {
public:
    /// What only tests call.
    class Control {
    public:
        void setFrontmost(std::optional<platform::FrontApplication> application) {
            application_ = std::move(application);
        }
        /// How often the port was asked for the application in front.
        int questions() const { return questions_; }

        /// Whether there is a program for addresses; true at first.
        void setCanOpen(bool canOpen) { canOpen_ = canOpen; }
        /// The addresses that were opened, in order.
        const std::vector<std::string>& opened() const { return opened_; }

        void setFullUserName(std::string name) { fullUserName_ = std::move(name); }

    private:
        friend class FakeWorkspace;
        std::optional<platform::FrontApplication> application_;
        int questions_ = 0;
        bool canOpen_ = true;
        std::vector<std::string> opened_;
        std::string fullUserName_;
    };

    Control& control() { return control_; }

    std::optional<platform::FrontApplication> frontmostApplication() override {
        ++control_.questions_;
        return control_.application_;
    }

    bool openURL(const std::string& address) override {
        if (!control_.canOpen_ || !boost::urls::parse_uri(address))
            return false;
        control_.opened_.push_back(address);
        return true;
    }

    std::string fullUserName() override { return control_.fullUserName_; }

private:
    Control control_;
};

} // namespace sonvale::tests
