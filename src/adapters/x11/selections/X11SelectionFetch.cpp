#include "adapters/x11/selections/X11SelectionFetch.h"

#include "adapters/x11/selections/X11SelectionContents.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace sonvale::adapters::x11 {

namespace {

/// For a question that the server answers without another program.
constexpr double serverSeconds = 0.5;
constexpr std::size_t maxTargets = 1000;
constexpr int encodingRank = 6;

/// Forms that are asked for first are the most likely to arrive in time: text before the picture, the picture
/// before forms that only their own program knows, other encodings of the same picture last.
int rank(const std::string& name) {
    if (name == "UTF8_STRING")
        return 0;
    if (target::isPlainText(name))
        return 1;
    if (name.starts_with("text/"))
        return 2;
    if (name == "image/png")
        return 3;
    if (target::isVectorPicture(name))
        return 5;
    return target::isPicture(name) ? encodingRank : 4;
}

} // namespace

X11SelectionFetch::X11SelectionFetch(X11Connection& connection, const runtime::Clock& clock, Limits limits)
    : connection_(connection)
    , clock_(clock)
    , limits_(limits) {
    if (connection_.isAlive())
        targets_ = connection_.atom("TARGETS", connection_.deadlineIn(serverSeconds));
}

void X11SelectionFetch::start(xcb_atom_t selection, xcb_timestamp_t time) {
    stop();
    selection_ = selection;
    time_ = time;
    stage_ = Stage::listing;
    startedAt_ = clock_.now();
    ask(listPlace, targets_);
}

void X11SelectionFetch::completeEmpty() {
    stop();
    stage_ = Stage::complete;
    hasList_ = true;
}

void X11SelectionFetch::askForAll() {
    isAskingForAll_ = isAskingForAll_ || stage_ == Stage::fetching;
    if (stage_ == Stage::fetching)
        askMore();
}

void X11SelectionFetch::askForAllNow() {
    if (stage_ == Stage::listing) {
        giveUpOnTransfers();
        setWanted(connection_.atoms({"UTF8_STRING", "text/html", "image/png", "STRING"},
                                    connection_.deadlineIn(serverSeconds)));
    }
    askForAll();
}

void X11SelectionFetch::stop() {
    giveUpOnTransfers();
    stage_ = Stage::idle;
    isAskingForAll_ = false;
    hasList_ = false;
    wanted_.clear();
    order_.clear();
    next_ = 0;
    bytes_ = 0;
}

void X11SelectionFetch::handle(const xcb_generic_event_t& event) {
    for (const auto& reader : readers_)
        reader->handle(event);
}

void X11SelectionFetch::advance() {
    if (stage_ == Stage::idle || stage_ == Stage::complete)
        return;
    while (receive() || askMore()) {
    }
    keepWithinMemory();
    const double now = clock_.now();
    if (now >= startedAt_ + limits_.totalSeconds) {
        giveUpOnTransfers();
        next_ = order_.size();
    } else if (now >= lastActivity() + limits_.silenceSeconds) {
        giveUpOnTransfers();
        askMore();
    }
    if (transfers_.empty() && next_ == order_.size())
        stage_ = Stage::complete;
}

double X11SelectionFetch::nextDeadline() const {
    if (stage_ == Stage::idle || stage_ == Stage::complete)
        return std::numeric_limits<double>::infinity();
    return std::min(startedAt_ + limits_.totalSeconds, lastActivity() + limits_.silenceSeconds);
}

bool X11SelectionFetch::hasAllButEncodings() const {
    const auto isMissing = [](const Wanted& form) {
        return form.state == State::waiting || form.state == State::asked;
    };
    const auto png = std::ranges::find(wanted_, "image/png", &Wanted::name);
    return png != wanted_.end() && png->state == State::arrived &&
           std::ranges::none_of(wanted_, [&](const Wanted& form) {
               return isMissing(form) && rank(form.name) != encodingRank;
           });
}

std::vector<X11SelectionFetch::Arrived> X11SelectionFetch::takeArrived() {
    std::vector<xcb_atom_t> types;
    for (const auto& form : wanted_)
        types.push_back(form.state == State::arrived ? form.data.type : xcb_atom_t{XCB_ATOM_NONE});
    const auto typeNames = connection_.atomNames(types, connection_.deadlineIn(serverSeconds));

    std::vector<Arrived> arrived;
    for (std::size_t place = 0; place < wanted_.size(); ++place) {
        auto& form = wanted_[place];
        if (form.state != State::arrived)
            continue;
        form.state = State::taken;
        const auto encoding = typeNames[place] == form.name ? std::string() : typeNames[place];
        arrived.push_back({place, {form.name, std::move(form.data.bytes), form.data.format, encoding}});
        form.data = {};
    }
    return arrived;
}

std::vector<std::string> X11SelectionFetch::names() const {
    std::vector<std::string> names;
    for (const auto& form : wanted_)
        names.push_back(form.name);
    return names;
}

std::vector<std::string> X11SelectionFetch::missing() const {
    std::vector<std::string> names;
    for (const auto& form : wanted_) {
        if (form.state == State::waiting || form.state == State::asked || form.state == State::givenUp)
            names.push_back(form.name);
    }
    return names;
}

void X11SelectionFetch::ask(std::size_t place, xcb_atom_t target) {
    auto free = std::ranges::find_if(readers_, [](const auto& reader) { return !reader->isBusy(); });
    if (free == readers_.end()) {
        readers_.push_back(std::make_unique<X11SelectionReader>(connection_, clock_));
        free = std::prev(readers_.end());
    }
    askedAt_ = clock_.now();
    (*free)->begin(selection_, target, time_);
    transfers_.push_back({place, free->get()});
}

/// Asks for the next forms. Returns whether it has asked for any.
bool X11SelectionFetch::askMore() {
    bool hasAsked = false;
    while (next_ < order_.size() && (transfers_.empty() || isAskingForAll_)) {
        auto& form = wanted_[order_[next_]];
        form.state = State::asked;
        ask(order_[next_++], form.target);
        hasAsked = true;
    }
    return hasAsked;
}

/// Takes the result of a transfer that has ended. Returns whether there was one.
bool X11SelectionFetch::receive() {
    const auto ended =
        std::ranges::find_if(transfers_, [](const Transfer& transfer) { return !transfer.reader->isBusy(); });
    if (ended == transfers_.end())
        return false;
    const auto place = ended->place;
    auto data = ended->reader->take();
    transfers_.erase(ended);
    if (place == listPlace) {
        hasList_ = true;
        takeList(data);
        return true;
    }
    auto& form = wanted_[place];
    if (!data) {
        form.state = State::refused;
    } else if (data->bytes.size() > limits_.maxBytes - std::min(bytes_, limits_.maxBytes)) {
        form.state = State::givenUp;
    } else {
        form.state = State::arrived;
        bytes_ += data->bytes.size();
        form.data = *std::move(data);
    }
    return true;
}

void X11SelectionFetch::takeList(const std::optional<X11SelectionData>& list) {
    std::vector<xcb_atom_t> atoms;
    if (!list) {
        // The oldest programs know plain text and nothing else.
        atoms = connection_.atoms({"UTF8_STRING", "STRING"}, connection_.deadlineIn(serverSeconds));
    } else if (list->format == 32) {
        atoms.resize(std::min(list->bytes.size() / sizeof(xcb_atom_t), maxTargets));
        std::memcpy(atoms.data(), list->bytes.data(), atoms.size() * sizeof(xcb_atom_t));
    }
    setWanted(atoms);
}

void X11SelectionFetch::setWanted(const std::vector<xcb_atom_t>& atoms) {
    const auto names = connection_.atomNames(atoms, connection_.deadlineIn(serverSeconds));
    const bool hasPng = std::ranges::find(names, "image/png") != names.end();
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        const auto& name = names[i];
        const bool isLeftOut = name.empty() || target::isNotContents(name) ||
                               (hasPng && target::isBitmapLikePng(name)) ||
                               std::ranges::find(wanted_, atoms[i], &Wanted::target) != wanted_.end();
        if (!isLeftOut)
            wanted_.push_back({name, atoms[i], State::waiting, {}});
    }
    for (std::size_t place = 0; place < wanted_.size(); ++place)
        order_.push_back(place);
    std::ranges::sort(order_, {},
                      [this](std::size_t place) { return std::pair(rank(wanted_[place].name), place); });
    stage_ = Stage::fetching;
}

void X11SelectionFetch::giveUpOnTransfers() {
    for (const auto& transfer : transfers_) {
        transfer.reader->abandon();
        if (transfer.place != listPlace)
            wanted_[transfer.place].state = State::givenUp;
    }
    transfers_.clear();
}

void X11SelectionFetch::keepWithinMemory() {
    std::size_t total = bytes_;
    for (const auto& transfer : transfers_)
        total += transfer.reader->received();
    if (total <= limits_.maxBytes || transfers_.empty())
        return;
    const auto largest = std::ranges::max_element(
        transfers_, {}, [](const Transfer& transfer) { return transfer.reader->received(); });
    largest->reader->abandon();
    if (largest->place != listPlace)
        wanted_[largest->place].state = State::givenUp;
    transfers_.erase(largest);
}

double X11SelectionFetch::lastActivity() const {
    double last = askedAt_;
    for (const auto& transfer : transfers_)
        last = std::max(last, transfer.reader->lastActivity());
    return last;
}

} // namespace sonvale::adapters::x11
