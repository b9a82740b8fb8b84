#pragma once

#include "platform/Workspace.h"

#include <boost/url/parse.hpp>

#include <utility>
#include <vector>

namespace sonvale::tests {

/// A desktop whose front application and user a test chooses. It opens every address.
class FakeWorkspace final : public platform::Workspace {
public:
    /// The operations for tests.
    class Control {
    public:
        void setFrontmost(std::optional<platform::FrontApplication> application) {
            application_ = std::move(application);
        }
        /// Returns the number of questions for the front application.
        int questions() const { return questions_; }

        /// Sets whether there is a program for addresses; true at first.
        void setCanOpen(bool canOpen) { canOpen_ = canOpen; }
        /// Returns the opened addresses, in order.
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
