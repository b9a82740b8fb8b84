#pragma once

#include "tests/support/XcbSession.h"

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace sonvale::tests {

/// Another program that has contents on the clipboard: it owns a selection with any targets, and answers well
/// or badly as the test says, on a thread of its own. The destructor releases the selection.
class SelectionOwner {
public:
    struct Form {
        std::string target = {};
        std::vector<std::byte> data = {};
        std::string type = {}; ///< empty means the target itself
        int format = 8;        ///< 8, 16 or 32
        bool isIncremental = false;
        int delayMilliseconds = 0;    ///< the whole program waits for this time
        bool isNeverFinished = false; ///< whether the last piece of an incremental transfer is omitted
        bool isNeverAnswered = false;
        std::function<void()> onRequest = {}; ///< called before the answer, on the owner's thread
    };
    struct Options {
        std::string selection = "CLIPBOARD";
        bool answersTargets = true; ///< if false, it does not answer requests for TARGETS
        bool refusesTargets = false;
        std::size_t pieceBytes = 65536;
    };

    SelectionOwner(const std::string& displayName, std::vector<Form> forms);
    SelectionOwner(const std::string& displayName, std::vector<Form> forms, Options options);
    ~SelectionOwner();

    /// Returns false if another program has taken the selection.
    bool isOwner() const { return isOwner_; }
    /// Returns how often the target was requested.
    int requests(const std::string& target) const;
    /// Returns the number of finished incremental transfers.
    int finishedTransfers() const { return finishedTransfers_; }
    /// Claims the selection again, like a second copy in the same program.
    void claimAgain();

private:
    struct Transfer;
    /// Whether there is any answer, and its property.
    using Conversion = std::pair<bool, xcb_atom_t>;

    void run();
    void claim();
    void answer(const xcb_selection_request_event_t& request);
    Conversion convert(const xcb_selection_request_event_t& request, const std::string& target);
    Conversion listTargets(const xcb_selection_request_event_t& request);
    void continueTransfer(const xcb_property_notify_event_t& change);
    void put(xcb_window_t window, xcb_atom_t property, const Form& form, std::size_t from, std::size_t size);

    std::vector<Form> forms_;
    Options options_;
    std::unique_ptr<XcbSession> session_;
    std::vector<Transfer> transfers_; ///< used only on the thread
    std::atomic<bool> isOwner_ = false;
    std::atomic<bool> isEnding_ = false;
    std::atomic<bool> isToClaim_ = false;
    std::atomic<int> finishedTransfers_ = 0;
    mutable std::mutex mutex_;
    std::map<std::string, int> requests_; ///< guarded by `mutex_`
    std::thread thread_;
};

} // namespace sonvale::tests
