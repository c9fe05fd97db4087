#pragma once

class QWidget;

namespace ZorbelKit {

/// Gives the keyboard to the next (or the previous) control below `root`, in the order of the tree of
/// widgets, and from the last on to the first. The toolkit's own order is that in which things were made.
/// False where nothing can have the keyboard.
bool moveFocus(QWidget& root, bool next);

} // namespace ZorbelKit
