#include "platform/linux/X11Clipboard.h"

#include <xcb/xfixes.h>

#include <algorithm>
#include <cstring>

namespace sonvale::platform::linux {

namespace {

/// For a question that the server answers by itself.
constexpr double serverSeconds = 0.5;
/// For the owner's first answer; one that has not come by then comes from a program that hangs.
constexpr double ownerSeconds = 0.5;
/// For all forms together: Qt's programs need 2 s for some forms of a picture.
constexpr double snapshotSeconds = 0.4;
/// For the forms, when the first answer came late.
constexpr double leastFormsSeconds = 0.1;
constexpr double handOverSeconds = 1;
constexpr int mostAttempts = 2;
constexpr std::size_t mostTargets = 1000;

/// Forms that are asked for first are there when time runs out: text before the picture, the picture before
/// what is only known to its own program.
int urgency(const std::string& name) {
    if (name == "UTF8_STRING")
        return 0;
    if (target::isPlainText(name))
        return 1;
    if (name.starts_with("text/"))
        return 2;
    if (name == "image/png")
        return 3;
    return target::isImageBesidePng(name) ? 5 : 4;
}

} // namespace

X11Clipboard::X11Clipboard(const runtime::Clock& clock, const std::string& displayName)
    : clock_(clock)
    , client_(displayName, clock)
    , server_(client_, clock)
    , reader_(client_, clock, [this](const xcb_generic_event_t& event) { dispatch(event); }) {
    if (!client_.isAlive())
        return;
    const auto atoms = client_.atoms({"CLIPBOARD", "TARGETS", "SAVE_TARGETS", "CLIPBOARD_MANAGER"}, soon());
    clipboard_ = atoms[0];
    targets_ = atoms[1];
    saveTargets_ = atoms[2];
    clipboardManager_ = atoms[3];
    watchChanges();
}

void X11Clipboard::watchChanges() {
    auto* connection = client_.connection();
    const auto* extension = xcb_get_extension_data(connection, &xcb_xfixes_id);
    if (!extension || !extension->present)
        return;
    selectionEvent_ = extension->first_event + XCB_XFIXES_SELECTION_NOTIFY;
    const auto version = xcb_xfixes_query_version(connection, 2, 0);
    client_.reply<xcb_xfixes_query_version_reply_t>(version.sequence, soon());
    xcb_xfixes_select_selection_input(connection, client_.root(), clipboard_,
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    client_.sync(soon());
}

std::int64_t X11Clipboard::changeCount() {
    client_.sync(soon());
    dispatchArrived();
    return changeCount_;
}

X11SelectionServer::ContentsPointer X11Clipboard::ownContents() {
    dispatchArrived();
    return client_.isAlive() ? server_.contents(clipboard_) : nullptr;
}

std::optional<std::vector<PasteboardItem>> X11Clipboard::readItems() {
    const double start = clock_.now();
    for (int attempt = 1;; ++attempt) {
        const auto time = client_.timestamp(start + serverSeconds);
        if (!time)
            return std::nullopt;
        if (!hasOwner(clipboard_))
            return std::vector<PasteboardItem>();

        dispatchArrived();
        const auto count = changeCount_;
        auto item = fetchItem(*time, start);
        // Half of one owner's contents and half of another's are nobody's.
        const bool isTorn = changeCount_ != count;
        if (isTorn && attempt < mostAttempts && clock_.now() < start + snapshotSeconds / 2)
            continue;
        std::vector<PasteboardItem> items;
        if (!item.representations.empty())
            items.push_back(std::move(item));
        return items;
    }
}

std::optional<std::string> X11Clipboard::readText() {
    const double start = clock_.now();
    for (int attempt = 1;; ++attempt) {
        const auto time = client_.timestamp(start + serverSeconds);
        if (!time || !hasOwner(clipboard_))
            return std::nullopt;

        dispatchArrived();
        const auto count = changeCount_;
        auto text = fetchText(*time, start + ownerSeconds);
        if (changeCount_ == count || attempt == mostAttempts)
            return text;
    }
}

void X11Clipboard::clearContents() {
    dispatchArrived();
    server_.release(XCB_ATOM_PRIMARY);
    server_.claimUnfilled(clipboard_, soon());
}

void X11Clipboard::write(X11SelectionContents contents) {
    dispatchArrived();
    server_.release(XCB_ATOM_PRIMARY);
    contents.resolve(client_, soon());
    if (!contents.items.empty())
        server_.fill(clipboard_, std::make_shared<const X11SelectionContents>(std::move(contents)), soon());
}

void X11Clipboard::offerPrimary() {
    X11SelectionContents texts;
    if (const auto own = ownContents())
        texts = own->textOnly();
    else if (const auto text = readText())
        texts = X11SelectionContents::fromText(*text);
    texts.resolve(client_, soon());
    if (!texts.targets().empty())
        server_.claim(XCB_ATOM_PRIMARY, std::make_shared<const X11SelectionContents>(std::move(texts)),
                      soon());
}

void X11Clipboard::handOver() {
    client_.sync(soon());
    const auto contents = ownContents();
    if (!contents || contents->items.empty() || !hasOwner(clipboardManager_))
        return;
    const auto time = client_.timestamp(soon());
    const auto property = client_.atom("_SONVALE_SAVE_TARGETS", soon());
    if (!time || property == XCB_ATOM_NONE)
        return;
    const auto targets = contents->targets();
    xcb_change_property(client_.connection(), XCB_PROP_MODE_REPLACE, client_.window(), property,
                        XCB_ATOM_ATOM, 32, static_cast<std::uint32_t>(targets.size()), targets.data());
    xcb_convert_selection(client_.connection(), client_.window(), clipboardManager_, saveTargets_, property,
                          *time);

    const double deadline = clock_.now() + handOverSeconds;
    while (!isHandedOver_ && clock_.now() < deadline) {
        const auto event = client_.waitForEvent(deadline);
        if (!event)
            return;
        dispatch(*event);
    }
}

void X11Clipboard::serveAndWait(int otherDescriptor) {
    dispatchArrived();
    server_.expire();
    client_.waitForInput(otherDescriptor, server_.nextDeadline());
}

void X11Clipboard::dispatch(const xcb_generic_event_t& event) {
    const int type = event.response_type & 0x7f;
    if (type == selectionEvent_) {
        const auto& change = reinterpret_cast<const xcb_xfixes_selection_notify_event_t&>(event);
        // Letting go of what `clearContents` took is the second half of one change.
        const bool isOwnRelease = change.owner == XCB_WINDOW_NONE && change.selection == clipboard_ &&
                                  server_.tellsOfRelease(clipboard_, event.full_sequence);
        if (change.selection == clipboard_ && !isOwnRelease) {
            ++changeCount_;
            reader_.abandon();
        }
        return;
    }
    if (type == XCB_SELECTION_NOTIFY &&
        reinterpret_cast<const xcb_selection_notify_event_t&>(event).selection == clipboardManager_)
        isHandedOver_ = true;
    server_.handle(event);
    reader_.handle(event);
}

void X11Clipboard::dispatchArrived() {
    while (const auto event = client_.takeEvent())
        dispatch(*event);
}

bool X11Clipboard::hasOwner(xcb_atom_t selection) {
    const auto question = xcb_get_selection_owner(client_.connection(), selection);
    const auto answer = client_.reply<xcb_get_selection_owner_reply_t>(question.sequence, soon());
    return answer && answer->owner != XCB_WINDOW_NONE;
}

std::vector<X11Clipboard::Wanted> X11Clipboard::offeredTargets(xcb_timestamp_t time, double deadline) {
    std::vector<xcb_atom_t> atoms;
    if (const auto answer = reader_.fetch(clipboard_, targets_, time, deadline)) {
        if (answer->format == 32) {
            atoms.resize(std::min(answer->bytes.size() / sizeof(xcb_atom_t), mostTargets));
            std::memcpy(atoms.data(), answer->bytes.data(), atoms.size() * sizeof(xcb_atom_t));
        }
    } else if (clock_.now() < deadline) {
        // The oldest programs know plain text and nothing else.
        atoms = client_.atoms({"UTF8_STRING", "STRING"}, soon());
    }

    const auto names = client_.atomNames(atoms, soon());
    const bool hasPng = std::ranges::find(names, "image/png") != names.end();
    std::vector<Wanted> wanted;
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        const auto& name = names[i];
        const bool isLeftOut = name.empty() || target::isNoContents(name) ||
                               (hasPng && target::isImageBesidePng(name)) ||
                               std::ranges::find(wanted, atoms[i], &Wanted::target) != wanted.end();
        if (!isLeftOut)
            wanted.push_back({name, atoms[i], std::nullopt});
    }
    return wanted;
}

PasteboardItem X11Clipboard::fetchItem(xcb_timestamp_t time, double start) {
    const auto count = changeCount_;
    auto wanted = offeredTargets(time, start + ownerSeconds);

    std::vector<Wanted*> order;
    for (auto& form : wanted)
        order.push_back(&form);
    std::ranges::sort(order, {}, [](const Wanted* form) { return std::pair(urgency(form->name), form); });
    const double deadline = std::max(start + snapshotSeconds, clock_.now() + leastFormsSeconds);
    for (auto* form : order) {
        if (clock_.now() >= deadline || changeCount_ != count)
            break;
        form->data = reader_.fetch(clipboard_, form->target, time, deadline);
    }

    std::vector<xcb_atom_t> types;
    for (const auto& form : wanted)
        types.push_back(form.data ? form.data->type : xcb_atom_t{XCB_ATOM_NONE});
    const auto typeNames = client_.atomNames(types, soon());

    PasteboardItem item;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        auto& form = wanted[i];
        if (!form.data)
            continue;
        const auto encoding = typeNames[i] == form.name ? std::string() : typeNames[i];
        item.representations.push_back({form.name, std::move(form.data->bytes), form.data->format, encoding});
    }
    return item;
}

std::optional<std::string> X11Clipboard::fetchText(xcb_timestamp_t time, double deadline) {
    const auto count = changeCount_;
    for (const std::string name : target::plainText) {
        const auto data = reader_.fetch(clipboard_, client_.atom(name, soon()), time, deadline);
        if (data && data->format == 8)
            return target::decodedText(name, data->bytes);
        if (clock_.now() >= deadline || changeCount_ != count)
            break;
    }
    return std::nullopt;
}

double X11Clipboard::soon() const {
    return clock_.now() + serverSeconds;
}

} // namespace sonvale::platform::linux
