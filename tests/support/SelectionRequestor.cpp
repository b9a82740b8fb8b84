#include "tests/support/SelectionRequestor.h"

#include "tests/support/ChildProcess.h"

#include <cstring>

namespace sonvale::tests {

SelectionRequestor::SelectionRequestor(const std::string& displayName, std::string selection)
    : session_(displayName)
    , selection_(std::move(selection)) {}

std::optional<SelectionRequestor::Answer> SelectionRequestor::convert(const std::string& target,
                                                                      double seconds) {
    return convertAt(target, session_.timestamp(), seconds);
}

std::optional<SelectionRequestor::Answer> SelectionRequestor::convertAtEarlierTime(const std::string& target,
                                                                                   unsigned milliseconds) {
    return convertAt(target, session_.timestamp() - milliseconds, 5);
}

std::optional<SelectionRequestor::Answer>
SelectionRequestor::convertAt(const std::string& target, xcb_timestamp_t time, double seconds) {
    const auto property = session_.atom("_TEST_ANSWER");
    xcb_delete_property(session_.connection(), session_.window(), property);
    xcb_convert_selection(session_.connection(), session_.window(), session_.atom(selection_),
                          session_.atom(target), property, time);
    const double end = monotonicSeconds() + seconds;
    while (const auto event = session_.waitForEvent(end - monotonicSeconds())) {
        if ((event->response_type & 0x7f) != XCB_SELECTION_NOTIFY)
            continue;
        if (reinterpret_cast<const xcb_selection_notify_event_t&>(*event).property == XCB_ATOM_NONE)
            return std::nullopt;
        return receive(property, end - monotonicSeconds());
    }
    return std::nullopt;
}

std::optional<SelectionRequestor::Answer> SelectionRequestor::receive(xcb_atom_t property, double seconds,
                                                                      int maxPieces) {
    const double end = monotonicSeconds() + seconds;
    auto first = session_.takeProperty(session_.window(), property);
    if (first.type != "INCR")
        return Answer{first.type, first.format, std::move(first.data), 0};
    Answer answer;
    while (const auto event = session_.waitForEvent(end - monotonicSeconds())) {
        if ((event->response_type & 0x7f) != XCB_PROPERTY_NOTIFY)
            continue;
        const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(*event);
        if (change.atom != property || change.state != XCB_PROPERTY_NEW_VALUE)
            continue;
        const auto piece = session_.takeProperty(session_.window(), property);
        if (piece.type.empty())
            continue;
        if (piece.data.empty())
            return answer;
        answer.type = piece.type;
        answer.format = piece.format;
        answer.data.insert(answer.data.end(), piece.data.begin(), piece.data.end());
        if (++answer.pieces == maxPieces)
            return answer;
    }
    return std::nullopt;
}

std::vector<std::string> SelectionRequestor::targets() {
    std::vector<std::string> names;
    if (const auto answer = convert("TARGETS")) {
        std::vector<xcb_atom_t> atoms(answer->data.size() / sizeof(xcb_atom_t));
        std::memcpy(atoms.data(), answer->data.data(), atoms.size() * sizeof(xcb_atom_t));
        for (const auto atom : atoms)
            names.push_back(session_.name(atom));
    }
    return names;
}

std::map<std::string, SelectionRequestor::Answer>
SelectionRequestor::multiple(const std::vector<std::string>& targets) {
    const auto list = session_.atom("_TEST_MULTIPLE");
    std::vector<xcb_atom_t> pairs;
    for (std::size_t i = 0; i < targets.size(); ++i) {
        pairs.push_back(session_.atom(targets[i]));
        pairs.push_back(session_.atom("_TEST_MULTIPLE_" + std::to_string(i)));
    }
    xcb_change_property(session_.connection(), XCB_PROP_MODE_REPLACE, session_.window(), list,
                        session_.atom("ATOM_PAIR"), 32, static_cast<std::uint32_t>(pairs.size()),
                        pairs.data());
    xcb_convert_selection(session_.connection(), session_.window(), session_.atom(selection_),
                          session_.atom("MULTIPLE"), list, session_.timestamp());
    std::map<std::string, Answer> answers;
    while (const auto event = session_.waitForEvent(5)) {
        if ((event->response_type & 0x7f) != XCB_SELECTION_NOTIFY)
            continue;
        if (reinterpret_cast<const xcb_selection_notify_event_t&>(*event).property == XCB_ATOM_NONE)
            return {};
        break;
    }
    const auto done = session_.takeProperty(session_.window(), list);
    if (done.data.size() != pairs.size() * sizeof(xcb_atom_t))
        return {};
    std::memcpy(pairs.data(), done.data.data(), done.data.size());
    for (std::size_t i = 0; i < targets.size(); ++i) {
        if (pairs[2 * i + 1] == XCB_ATOM_NONE)
            continue;
        if (auto answer = receive(pairs[2 * i + 1], 5))
            answers.emplace(targets[i], std::move(*answer));
    }
    return answers;
}

bool SelectionRequestor::vanishDuring(const std::string& displayName, const std::string& target, int pieces) {
    SelectionRequestor requestor(displayName);
    auto& session = requestor.session_;
    const auto property = session.atom("_TEST_ANSWER");
    xcb_convert_selection(session.connection(), session.window(), session.atom(requestor.selection_),
                          session.atom(target), property, session.timestamp());
    while (const auto event = session.waitForEvent(5)) {
        if ((event->response_type & 0x7f) != XCB_SELECTION_NOTIFY)
            continue;
        const auto answer = requestor.receive(property, 5, pieces);
        return answer && answer->pieces == pieces;
    }
    return false;
}

bool SelectionRequestor::stallDuring(const std::string& target) {
    const auto property = session_.atom("_TEST_ANSWER");
    xcb_convert_selection(session_.connection(), session_.window(), session_.atom(selection_),
                          session_.atom(target), property, session_.timestamp());
    while (const auto event = session_.waitForEvent(5)) {
        if ((event->response_type & 0x7f) != XCB_SELECTION_NOTIFY)
            continue;
        const auto answer = receive(property, 5, 1);
        return answer && answer->pieces == 1;
    }
    return false;
}

void SelectionRequestor::clear() {
    xcb_set_selection_owner(session_.connection(), XCB_WINDOW_NONE, session_.atom(selection_),
                            session_.timestamp());
    session_.sync();
}

} // namespace sonvale::tests
