#pragma once

class QVBoxLayout;
class QWidget;

namespace ZorbelKit {

/// A column without margins that lays out `parent`, with `spacing` points between its parts.
QVBoxLayout* makeColumn(QWidget* parent, int spacing);

} // namespace ZorbelKit
