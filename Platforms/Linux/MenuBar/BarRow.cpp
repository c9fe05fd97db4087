#include "Platforms/Linux/MenuBar/BarRow.hpp"

#include "ZorbelKit/Host/Defaults.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

namespace Linux {

using ZorbelKit::StatusBar;
using ZorbelKit::StatusItemKind;

namespace {

constexpr std::string_view orderKey = "menubar.order"; // a JSON list of identities, from right to left
constexpr double squareWidth = 28;                     // as wide as the bar is high

StatusOrder readOrder(const ZorbelKit::Defaults& defaults) {
    const auto stored = nlohmann::json::parse(defaults.string(orderKey).value_or("[]"), nullptr, false);
    StatusOrder order;
    if (stored.is_array()) {
        for (const auto& entry : stored) {
            const std::string identity = entry.is_string() ? entry.get<std::string>() : std::string();
            const bool isNew = !identity.empty() && std::ranges::find(order, identity) == order.end();
            if (isNew && order.size() < longestOrder) {
                order.push_back(identity);
            }
        }
    }
    return order;
}

} // namespace

BarRow::BarRow(ZorbelKit::Defaults& defaults)
    : defaults_(defaults)
    , remembered_(readOrder(defaults)) {
}

void BarRow::add(const std::string& identity, StatusItemKind kind, double length) {
    items_.emplace(identity, Item{kind, length});
    arrivals_.push_back(identity);
    arrange();
}

void BarRow::remove(std::string_view identity) {
    if (dragged_ == identity) {
        endDrag(false);
    }
    if (const auto found = items_.find(identity); found != items_.end()) {
        std::erase(arrivals_, identity);
        std::erase(row_, identity); // the others keep their places, also in the middle of a drag
        items_.erase(found);
    }
}

bool BarRow::setLength(std::string_view identity, double length) {
    const auto found = items_.find(identity);
    return found != items_.end() && std::exchange(found->second.length, length) != length;
}

std::vector<BarRow::Placed> BarRow::layOut(double areaWidth) const {
    std::vector<double> widths;
    widths.reserve(row_.size());
    for (const std::string& identity : row_) {
        widths.push_back(width(identity, items_.find(identity)->second, areaWidth));
    }
    const auto places = layoutStatusArea(widths, areaWidth);
    std::vector<Placed> placed;
    placed.reserve(row_.size());
    for (std::size_t index = 0; index < row_.size(); ++index) {
        placed.push_back({row_[index], places[index]});
    }
    return placed;
}

double BarRow::width(std::string_view identity, const Item& item, double areaWidth) const {
    if (item.length == StatusBar::squareLength) {
        return squareWidth;
    }
    if (item.kind == StatusItemKind::divider && dragged_ == identity) {
        return dividerWidth;
    }
    return item.length >= fillingLength ? std::max(item.length, areaWidth + 1) : item.length;
}

void BarRow::beginDrag(std::string_view identity) {
    if (has(identity)) {
        dragged_ = identity;
    }
}

bool BarRow::dragTo(double x, double areaWidth) {
    if (!dragged_) {
        return false;
    }
    // Counted from the right: everything whose middle is right of the pointer stays on the right.
    std::size_t index = 0;
    StatusOrder others;
    for (const Placed& placed : layOut(areaWidth)) {
        if (placed.identity == *dragged_) {
            continue;
        }
        const bool isDivider = items_.find(placed.identity)->second.kind == StatusItemKind::divider;
        const double drawn = isDivider ? std::min(dividerWidth, placed.place.width) : placed.place.width;
        const double middle = placed.place.x + placed.place.width - drawn / 2;
        index += middle > x ? 1 : 0;
        others.emplace_back(placed.identity);
    }
    others.insert(others.begin() + static_cast<std::ptrdiff_t>(index), *dragged_);
    others = withSuiteInSight(std::move(others), dividers());
    return std::exchange(row_, others) != others;
}

void BarRow::endDrag(bool isDropped) {
    const auto dragged = std::exchange(dragged_, std::nullopt);
    if (!dragged) {
        return;
    }
    if (isDropped) {
        const auto place = std::ranges::find(row_, *dragged) - row_.begin();
        remembered_ = withSuiteInSight(
            afterDrag(remembered_, arrivals_, *dragged, static_cast<std::size_t>(place)), dividers());
        remember();
    }
    arrange();
}

StatusOrder BarRow::dividers() const {
    StatusOrder found;
    for (const auto& [identity, item] : items_) {
        if (item.kind == StatusItemKind::divider) {
            found.push_back(identity);
        }
    }
    return found;
}

void BarRow::arrange() {
    if (!dragged_) {
        row_ = withSuiteInSight(mergeOrder(remembered_, arrivals_), dividers());
        return;
    }
    for (const std::string& arrived : arrivals_) { // in the middle of a drag newcomers wait at the left end
        if (std::ranges::find(row_, arrived) == row_.end()) {
            row_.push_back(arrived);
        }
    }
}

void BarRow::remember() const {
    defaults_.setString(
        orderKey, nlohmann::json(remembered_).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

} // namespace Linux
