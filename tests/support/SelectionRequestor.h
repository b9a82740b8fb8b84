#pragma once

#include "tests/support/XcbSession.h"

#include <map>

namespace sonvale::tests {

/// Another program that pastes: it asks the owner of a selection as ICCCM tells, and takes what comes.
class SelectionRequestor {
public:
    explicit SelectionRequestor(const std::string& displayName, std::string selection = "CLIPBOARD");

    struct Answer {
        std::string type;
        int format = 0;
        std::vector<std::byte> data;
        int pieces = 0; ///< 0 when it came whole
    };

    /// What the owner gives for the target; absent when it refuses, or says nothing for `seconds`.
    std::optional<Answer> convert(const std::string& target, double seconds = 5);
    /// As `convert`, with a time of the request that is `milliseconds` before now.
    std::optional<Answer> convertAtEarlierTime(const std::string& target, unsigned milliseconds);
    /// The names that the owner lists in TARGETS, in its order.
    std::vector<std::string> targets();
    /// All targets in one request of MULTIPLE; those that are refused are left out.
    std::map<std::string, Answer> multiple(const std::vector<std::string>& targets);

    /// Asks for the target, takes `pieces` of its incremental transfer, and disconnects in the middle.
    static bool vanishDuring(const std::string& displayName, const std::string& target, int pieces);
    /// Asks for the target, takes one piece and then no more.
    bool stallDuring(const std::string& target);

    bool hasOwner() { return session_.owner(selection_) != XCB_WINDOW_NONE; }
    /// Leaves the selection without an owner.
    void clear();
    XcbSession& session() { return session_; }

private:
    std::optional<Answer> convertAt(const std::string& target, xcb_timestamp_t time, double seconds);
    std::optional<Answer> receive(xcb_atom_t property, double seconds, int mostPieces = -1);

    XcbSession session_;
    std::string selection_;
};

} // namespace sonvale::tests
