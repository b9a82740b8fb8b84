#pragma once

#include "tests/support/XcbSession.h"

#include <map>

namespace sonvale::tests {

/// Another program that pastes: it asks the owner of a selection by the rules of ICCCM.
class SelectionRequestor {
public:
    explicit SelectionRequestor(const std::string& displayName, std::string selection = "CLIPBOARD");

    struct Answer {
        std::string type;
        int format = 0;
        std::vector<std::byte> data;
        int pieces = 0; ///< 0 if it was sent whole
    };

    /// Returns the owner's answer for the target, or nullopt if it refuses or does not answer for `seconds`.
    std::optional<Answer> convert(const std::string& target, double seconds = 5);
    /// As `convert`, with a request time that is `milliseconds` before now.
    std::optional<Answer> convertAtEarlierTime(const std::string& target, unsigned milliseconds);
    /// Returns the names that the owner lists in TARGETS, in its order.
    std::vector<std::string> targets();
    /// Requests all targets in one request of MULTIPLE. Omits refused ones.
    std::map<std::string, Answer> multiple(const std::vector<std::string>& targets);

    /// Requests the target, takes `pieces` of its incremental transfer, and then disconnects.
    static bool vanishDuring(const std::string& displayName, const std::string& target, int pieces);
    /// Requests the target, takes one piece and then no more.
    bool stallDuring(const std::string& target);

    bool hasOwner() { return session_.owner(selection_) != XCB_WINDOW_NONE; }
    /// Removes the owner of the selection.
    void clear();
    XcbSession& session() { return session_; }

private:
    std::optional<Answer> convertAt(const std::string& target, xcb_timestamp_t time, double seconds);
    std::optional<Answer> receive(xcb_atom_t property, double seconds, int maxPieces = -1);

    XcbSession session_;
    std::string selection_;
};

} // namespace sonvale::tests
