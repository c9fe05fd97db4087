#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Linux {

/// Identities of items from right to left: "own:<autosave name>", "sni:<id and program>", "xembed:<class>".
using StatusOrder = std::vector<std::string>;

inline constexpr std::size_t longestOrder = 256; // entries remembered

bool isOwnItem(std::string_view identity);

/// The items at hand, in the order to show them. Known items stand by their remembered rank; unknown ones of
/// the suite at the right end in the order given, unknown foreign ones at the left end in the order given: a
/// newcomer pushes neither the glass nor the divider away. `present` is in order of arrival, without doubles.
StatusOrder mergeOrder(const StatusOrder& remembered, const StatusOrder& present);

/// The order to remember once the user has put `dragged` at `index` of the shown row (counted from the right,
/// in the row without the dragged item). Absent programs keep their place, right behind the neighbour that
/// was on their right. Beyond `longestOrder` absent entries go, those at the left end first, which are the
/// longest absent where `remembered` is as this function leaves it.
StatusOrder afterDrag(const StatusOrder& remembered, const StatusOrder& present, std::string_view dragged,
                      std::size_t index);

/// The same order with the suite's own items that stand left of a divider moved to just right of the
/// rightmost divider: whatever the user does, nothing of the suite's own is pushed out of sight.
/// `dividers` are identities.
StatusOrder withSuiteInSight(StatusOrder order, const StatusOrder& dividers);

} // namespace Linux
