#pragma once

#include <functional>
#include <utility>

class QWidget; // the toolkit's widget, named but not included: models stay free of the toolkit

namespace ZorbelKit {

/// A view whose type only its maker knows. Building makes a fresh widget owned by `parent`.
///
///     AnyView RusketSpice::dashboard() { return AnyView::of<RusketPanel>(*this); }   // in RusketViews.cpp
class AnyView {
public:
    using Builder = std::function<QWidget*(QWidget* parent)>;

    AnyView() = default; // nothing to show
    explicit AnyView(Builder builder)
        : builder_(std::move(builder)) {}

    /// A view made from `model`, which must outlive what is built.
    template <class View, class Model>
    static AnyView of(Model& model) {
        return AnyView([&model](QWidget* parent) -> QWidget* { return new View(model, parent); });
    }

    bool isEmpty() const { return !builder_; }

    /// Null for an empty view.
    QWidget* build(QWidget* parent) const { return builder_ ? builder_(parent) : nullptr; }

private:
    Builder builder_;
};

} // namespace ZorbelKit
