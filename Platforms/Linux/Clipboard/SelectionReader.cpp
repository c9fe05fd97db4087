#include "Platforms/Linux/Clipboard/SelectionReader.hpp"

#include "Platforms/Linux/Clipboard/SelectionContent.hpp"
#include "Platforms/Linux/Clipboard/UriList.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace Linux {

namespace {

using namespace std::chrono_literals;

constexpr std::string_view uriList = "text/uri-list";
constexpr std::string_view tiff = "image/tiff";
constexpr std::string_view png = "image/png";
constexpr std::string_view utf8String = "UTF8_STRING";
constexpr std::string_view latin1String = "STRING";

constexpr std::array<std::string_view, 9> ordinaryNames{
    uriList,      "x-special/gnome-copied-files", tiff,         png, utf8String, "text/plain;charset=utf-8",
    "text/plain", "text/plain;charset=UTF-8",     latin1String,
};

constexpr std::size_t longestTargets = 1 << 20; // bytes
constexpr std::size_t mostUnknownNames = 256;   // that are looked up of one content
constexpr std::size_t mostKnownNames = 4096;    // before they are forgotten
constexpr std::size_t longestName = 64;         // bytes; longer ones mean nothing to us

// A program that takes the selection again and again, and answers late or never, must not fill us up.
constexpr std::size_t mostAbandoned = 8;
constexpr auto hurriedInterval = 100ms; // between two reads while there are more
constexpr auto quarantine = 30s;        // for an answer, or a further piece, that nobody wants
constexpr auto longestDrain = 5min;

} // namespace

SelectionReader::SelectionReader(const SelectionConnection& connection, const Limits& limits,
                                 std::function<void(CopiedContent)> arrived)
    : connection_(connection)
    , limits_(limits)
    , arrived_(std::move(arrived)) {
    constexpr std::string_view property = "_ZORBEL_SELECTION";
    std::vector<std::string_view> names(ordinaryNames.begin(), ordinaryNames.end());
    names.insert(names.end(), secretMarks().begin(), secretMarks().end());
    names.push_back(property);
    const std::vector<xcb_atom_t> atoms = connection_.atoms(names);
    for (std::size_t index = 0; index < names.size(); ++index) {
        ownNames_.emplace(atoms[index], names[index]);
    }
    property_ = atoms.back();
    names_ = ownNames_;
}

// The steps of a read

void SelectionReader::read(xcb_timestamp_t since) {
    abandon();
    if (abandonedCount() >= mostAbandoned && Clock::now() < lastBegun_ + hurriedInterval) {
        postponed_ = since;
        return;
    }
    begin(since);
}

void SelectionReader::abandon() {
    postponed_.reset();
    if (current_) {
        setAside(*current_);
    }
}

void SelectionReader::begin(xcb_timestamp_t since) {
    lastBegun_ = Clock::now();
    since_ = since;
    content_ = {};
    ask(connection_.atom(SelectionName::targets), Step::targets);
}

void SelectionReader::ask(xcb_atom_t target, Step step) {
    if (free_.empty()) {
        free_.push_back(requests_.emplace(connection_.makeWindow(), Request{}).first);
    }
    current_ = free_.front();
    free_.pop_front();
    step_ = step;
    const xcb_window_t window = (*current_)->first;
    Request& request = (*current_)->second;
    request.isFree = false;
    request.target = target;
    request.time = since_;
    xcb_convert_selection(connection_.get(), window, connection_.atom(SelectionName::clipboard), target,
                          property_, since_);
}

void SelectionReader::askNext() {
    if (const auto urls = urlTarget(offered_)) {
        asked_ = *urls;
        ask(atomOf(asked_), Step::urls);
    } else if (const auto text = textTarget(offered_)) {
        asked_ = *text;
        ask(atomOf(asked_), Step::text);
    } else {
        deliver(std::move(content_));
    }
}

void SelectionReader::finish(Place place) {
    SelectionProperty content = std::move(place->second.content);
    const Step step = step_;
    free(place);
    if (content.isTooLong) {
        deliver({});
    } else if (step == Step::targets) {
        readTargets(content);
    } else if (content.format != 8) {
        withdrawTarget();
    } else if (step == Step::urls) {
        readUrls(content);
    } else {
        readText(std::move(content));
    }
}

void SelectionReader::fail(Place place) {
    const Step step = step_;
    free(place);
    if (step == Step::targets) { // old programs have no list of what they offer, but may have a text
        offered_ = {std::string(utf8String), std::string(latin1String)};
        askNext();
    } else {
        withdrawTarget();
    }
}

void SelectionReader::readTargets(const SelectionProperty& content) {
    const bool isList =
        content.type == XCB_ATOM_ATOM || content.type == connection_.atom(SelectionName::targets);
    if (content.format != 32 || !isList) {
        offered_ = {std::string(utf8String), std::string(latin1String)};
        askNext();
        return;
    }
    offered_ = namesOf(content.cardinals());
    if (isMarkedSecret(offered_)) {
        deliver({});
        return;
    }
    content_.hasTiff = std::ranges::find(offered_, tiff) != offered_.end();
    content_.hasPng = std::ranges::find(offered_, png) != offered_.end();
    askNext();
}

void SelectionReader::readUrls(const SelectionProperty& content) {
    content_.urls = asked_ == uriList ? urlsInList(content.bytes) : urlsInCopiedFiles(content.bytes);
    if (content_.urls.empty()) {
        withdrawTarget();
    } else {
        deliver(std::move(content_));
    }
}

void SelectionReader::readText(SelectionProperty content) {
    const auto type = namesOf(std::array{std::uint32_t{content.type}});
    if (!type.empty() && type.front().starts_with("image/")) {
        withdrawTarget(); // asked for a text, it gave a picture
        return;
    }
    const bool isUtf8 = content.type == connection_.atom(SelectionName::utf8String);
    std::string text = decodedText(isUtf8 ? utf8String : asked_, std::move(content.bytes));
    if (text.size() > limits_.longestText) { // another encoding may take more room
        deliver({});
        return;
    }
    text.shrink_to_fit(); // it may stay for long
    content_.text = std::move(text);
    deliver(std::move(content_));
}

void SelectionReader::withdrawTarget() {
    std::erase(offered_, asked_);
    askNext();
}

void SelectionReader::deliver(CopiedContent content) {
    content_ = {};
    offered_ = {};
    arrived_(std::move(content));
}

// Answers

void SelectionReader::takeAnswer(const xcb_selection_notify_event_t& answer) {
    const Place place = requests_.find(answer.requestor);
    if (place == requests_.end()) {
        return;
    }
    const Request& request = place->second;
    if (answer.property != XCB_ATOM_NONE && answer.property != property_) {
        connection_.remove(place->first, answer.property);
        return;
    }
    if (request.isFree || request.isArriving || answer.target != request.target ||
        answer.time != request.time) {
        return; // of an older request, or made up
    }
    if (answer.property != XCB_ATOM_NONE) {
        takeFirst(place);
    } else if (isCurrent(place)) {
        fail(place);
    } else {
        free(place);
    }
}

void SelectionReader::takeFirst(Place place) {
    const auto& [window, _] = *place;
    Request& request = place->second;
    const xcb_atom_t incr = connection_.atom(SelectionName::incr);
    if (!isCurrent(place)) {
        const bool isInPieces = connection_.outline(window, property_).type == incr;
        connection_.remove(window, property_); // asks for the first piece, where it comes in pieces
        request.isArriving = isInPieces;
        if (!isInPieces) {
            free(place);
        }
        return;
    }
    auto content = connection_.take(window, property_, limitOf(step_));
    if (!content) {
        fail(place);
    } else if (content->type == incr) {
        request.isArriving = true;
        request.progress = Clock::now();
    } else {
        request.content = *std::move(content);
        finish(place);
    }
}

void SelectionReader::takeChange(const xcb_property_notify_event_t& change) {
    const Place place = requests_.find(change.window);
    if (place == requests_.end() || change.state != XCB_PROPERTY_NEW_VALUE) {
        return;
    }
    const Request& request = place->second;
    if (change.atom != property_ || request.isFree) {
        connection_.remove(change.window, change.atom); // nobody asked for it
    } else if (request.isArriving && isCurrent(place)) {
        takePiece(place);
    } else if (request.isArriving) {
        drainPiece(place);
    }
}

void SelectionReader::takePiece(Place place) {
    Request& request = place->second;
    auto piece = connection_.take(place->first, property_, limitOf(step_) - request.content.bytes.size());
    if (!piece) {
        return; // it came with the one before
    }
    request.progress = Clock::now();
    if (piece->isTooLong) {
        setAside(place);
        deliver({});
        return;
    }
    if (piece->bytes.empty()) {
        if (request.content.type == XCB_ATOM_NONE) {
            request.content = *std::move(piece);
        }
        finish(place);
        return;
    }
    if (request.content.type == XCB_ATOM_NONE) {
        request.content = *std::move(piece);
        return;
    }
    if (piece->type != request.content.type || piece->format != request.content.format) {
        setAside(place); // no text at all, then
        withdrawTarget();
        return;
    }
    request.content.bytes += piece->bytes;
}

void SelectionReader::drainPiece(Place place) {
    const auto [type, size] = connection_.outline(place->first, property_);
    if (type == XCB_ATOM_NONE) {
        return;
    }
    connection_.remove(place->first, property_);
    place->second.progress = Clock::now();
    if (size == 0) {
        free(place);
    }
}

// Requests

void SelectionReader::setAside(Place place) {
    place->second.isAbandoned = true;
    place->second.abandoned = Clock::now();
    place->second.content = {};
    current_.reset();
}

void SelectionReader::free(Place place) {
    if (isCurrent(place)) {
        current_.reset();
    }
    place->second = Request{};
    free_.push_back(place);
}

std::size_t SelectionReader::abandonedCount() const {
    return requests_.size() - free_.size() - (current_ ? 1 : 0);
}

std::size_t SelectionReader::limitOf(Step step) const {
    return step == Step::targets ? longestTargets : limits_.longestText;
}

// Time

SelectionReader::Clock::time_point SelectionReader::deadlineOf(const Request& request) const {
    if (request.isAbandoned) {
        const auto lastSign =
            request.isArriving ? std::max(request.progress, request.abandoned) : request.abandoned;
        return std::min(lastSign + quarantine, request.abandoned + longestDrain);
    }
    const auto patience = std::chrono::duration_cast<Clock::duration>(limits_.stalledOwner);
    return request.isArriving ? request.progress + patience : Clock::time_point::max();
}

std::optional<SelectionReader::Clock::time_point> SelectionReader::nextDeadline() const {
    auto next = postponed_ ? lastBegun_ + hurriedInterval : Clock::time_point::max();
    for (const auto& [window, request] : requests_) {
        if (!request.isFree) {
            next = std::min(next, deadlineOf(request));
        }
    }
    return next == Clock::time_point::max() ? std::nullopt : std::optional(next);
}

void SelectionReader::passTime() {
    const auto now = Clock::now();
    for (auto place = requests_.begin(); place != requests_.end(); ++place) {
        if (place->second.isFree || deadlineOf(place->second) > now) {
            continue;
        }
        if (isCurrent(place)) {
            setAside(place); // what was copied before stays
        } else {
            connection_.remove(place->first, property_);
            free(place);
        }
    }
    if (postponed_ && now >= lastBegun_ + hurriedInterval) {
        begin(*std::exchange(postponed_, std::nullopt));
    }
}

// Names

std::vector<std::string> SelectionReader::namesOf(std::span<const std::uint32_t> atoms) {
    if (names_.size() > mostKnownNames) {
        names_ = ownNames_;
    }
    std::vector<xcb_atom_t> offered(atoms.begin(), atoms.end());
    std::ranges::sort(offered);
    offered.erase(std::unique(offered.begin(), offered.end()), offered.end());
    std::vector<xcb_atom_t> unknown;
    for (const xcb_atom_t atom : offered) {
        if (!names_.contains(atom) && unknown.size() < mostUnknownNames) {
            unknown.push_back(atom);
        }
    }
    std::vector<std::string> found = connection_.names(unknown);
    for (std::size_t index = 0; index < unknown.size(); ++index) {
        const bool isLong = found[index].size() > longestName;
        names_.emplace(unknown[index], isLong ? std::string() : std::move(found[index]));
    }
    std::vector<std::string> result;
    for (const xcb_atom_t atom : offered) {
        if (const auto name = names_.find(atom); name != names_.end() && !name->second.empty()) {
            result.push_back(name->second);
        }
    }
    return result;
}

xcb_atom_t SelectionReader::atomOf(std::string_view name) const {
    const auto found =
        std::ranges::find_if(names_, [name](const auto& known) { return known.second == name; });
    return found == names_.end() ? xcb_atom_t{XCB_ATOM_NONE} : found->first;
}

} // namespace Linux
