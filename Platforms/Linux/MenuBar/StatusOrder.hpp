#pragma once

#include <cstddef>
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

/// The order to remember once the user has put `dragged` at `index` of the row that `mergeOrder` makes of
/// `remembered` and `present` (counted from the right, in the row without the dragged item; one past its end
/// counts as the left end). An absent program keeps its place, right behind the neighbour that was on its
/// right, but does not follow that neighbour when it is the one dragged away. Beyond `longestOrder` absent
/// entries go, those at the left end first: that is where they turn up again as newcomers. Doubles go, and
/// whatever is no identity.
StatusOrder afterDrag(const StatusOrder& remembered, const StatusOrder& present, std::string_view dragged,
                      std::size_t index);

/// The same order with the suite's own items that stand left of a divider moved to just right of the
/// rightmost divider: whatever the user does, nothing of the suite's own is pushed out of sight. `dividers`
/// are identities; they stay where they are among the others.
StatusOrder withSuiteInSight(StatusOrder order, const StatusOrder& dividers);

} // namespace Linux
