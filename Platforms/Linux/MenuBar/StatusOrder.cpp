#include "Platforms/Linux/MenuBar/StatusOrder.hpp"

#include <algorithm>
#include <array>
#include <unordered_map>
#include <unordered_set>

namespace Linux {

namespace {

constexpr std::string_view ownPrefix = "own:";
constexpr std::array prefixes{ownPrefix, std::string_view("sni:"), std::string_view("xembed:")};

bool isIdentity(std::string_view entry) {
    return std::ranges::any_of(prefixes, [&](std::string_view prefix) { return entry.starts_with(prefix); });
}

StatusOrder withoutDoubles(const StatusOrder& order) {
    std::unordered_set<std::string_view> met;
    StatusOrder result;
    std::ranges::copy_if(order, std::back_inserter(result),
                         [&](const std::string& entry) { return met.insert(entry).second; });
    return result;
}

/// At most the longest order: absent entries go before present ones, from the left end.
void shorten(StatusOrder& order, const std::unordered_set<std::string_view>& isPresent) {
    std::size_t excess = order.size() > longestOrder ? order.size() - longestOrder : 0;
    for (auto entry = order.end(); excess > 0 && entry != order.begin();) {
        --entry;
        if (!isPresent.contains(*entry)) {
            entry = order.erase(entry);
            --excess;
        }
    }
    order.resize(std::min(order.size(), longestOrder));
}

} // namespace

bool isOwnItem(std::string_view identity) {
    return identity.starts_with(ownPrefix);
}

StatusOrder mergeOrder(const StatusOrder& remembered, const StatusOrder& present) {
    std::unordered_map<std::string_view, std::size_t> ranks; // from the right
    for (std::size_t rank = 0; rank < remembered.size(); ++rank) {
        ranks.emplace(remembered[rank], rank); // of doubles the first counts
    }
    StatusOrder row = withoutDoubles(present);
    const auto isKnown = [&](const std::string& identity) { return ranks.contains(identity); };
    const auto known = std::stable_partition(row.begin(), row.end(), [&](const std::string& identity) {
        return isOwnItem(identity) && !isKnown(identity);
    });
    const auto newcomers = std::stable_partition(known, row.end(), isKnown);
    std::ranges::sort(known, newcomers, {}, [&](const std::string& identity) { return ranks.at(identity); });
    return row;
}

StatusOrder afterDrag(const StatusOrder& remembered, const StatusOrder& present, std::string_view dragged,
                      std::size_t index) {
    const StatusOrder row = mergeOrder(remembered, present);
    StatusOrder order = row;
    if (const auto from = std::ranges::find(order, dragged); from != order.end()) {
        std::string identity = std::move(*from);
        order.erase(from);
        const std::size_t to = std::min(index, order.size());
        order.insert(order.begin() + static_cast<StatusOrder::difference_type>(to), std::move(identity));
    }
    const bool hasMoved = order != row;

    const std::unordered_set<std::string_view> isPresent(present.begin(), present.end());
    const StatusOrder before = withoutDoubles(remembered);
    std::string_view neighbour; // on the right of the next entry; empty at the right end
    std::size_t absent = 0;     // entries kept
    for (const std::string& entry : before) {
        if (!isPresent.contains(entry)) {
            if (!isIdentity(entry) || absent == longestOrder) {
                continue;
            }
            ++absent;
            const auto at = std::ranges::find(order, neighbour);
            order.insert(at == order.end() ? order.begin() : at + 1, entry);
        }
        if (!hasMoved || entry != dragged) { // what stood beside it stays behind
            neighbour = entry;
        }
    }
    shorten(order, isPresent);
    return order;
}

StatusOrder withSuiteInSight(StatusOrder order, const StatusOrder& dividers) {
    const auto isDivider = [&](const std::string& identity) {
        return std::ranges::find(dividers, identity) != dividers.end();
    };
    const auto rightmost = std::ranges::find_if(order, isDivider);
    std::stable_partition(rightmost, order.end(), [&](const std::string& identity) {
        return isOwnItem(identity) && !isDivider(identity);
    });
    return order;
}

} // namespace Linux
