#pragma once

#include "ZorbelKit/Controls/LiveView.hpp"

#include <QString>

#include <optional>

class QLabel;
class QStackedLayout;

namespace ZorbelKit {
class LineText;
class MenuStat;
class Reading;
class RingGauge;
class Trace;
} // namespace ZorbelKit

namespace Wendrel {

class VerdictDot;
class WendrelSpice;
struct Charge;

/// The block in the menu panel: charge, health and cycles.
class WendrelMenuSection final : public ZorbelKit::LiveView {
public:
    WendrelMenuSection(const WendrelSpice& spice, QWidget* parent);

protected:
    void refresh() override;

private:
    const WendrelSpice& spice_;
    QWidget* figures_;
    ZorbelKit::MenuStat* charge_;
    ZorbelKit::MenuStat* health_;
    ZorbelKit::MenuStat* cycles_;
    QLabel* nothing_;
};

/// A ring gauge of the charge; in another colour when little is left of it.
class ChargeRing final : public QWidget {
public:
    static constexpr int diameter = 128; // points

    explicit ChargeRing(QWidget* parent);

    void setCharge(const Charge& charge);

private:
    ZorbelKit::RingGauge* gauge_;
};

/// A label at the left, its figure at the right. A thin rule parts it from the row above it.
class Row final : public QWidget {
public:
    static constexpr int rowHeight = 32; // points

    /// `unit` follows the figure; none where it has none.
    Row(const QString& label, std::optional<QString> unit, bool isFirst, QWidget* parent);

    void setValue(const QString& value);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString label_;
    std::optional<QString> unit_;
    bool isFirst_;
    ZorbelKit::Reading* figure_;
};

/// What is left of the battery's first days: health, cycles, condition, and a verdict on them.
class HealthCard final : public QWidget {
public:
    explicit HealthCard(QWidget* parent);

    void setCharge(const Charge& charge);

private:
    ZorbelKit::Reading* health_;
    ZorbelKit::LineText* capacity_;
    ZorbelKit::Reading* cycles_;
    ZorbelKit::LineText* condition_;
    VerdictDot* dot_;
    QLabel* verdict_;
};

/// The charge over the last two hours.
class ChargeTrace final : public QWidget {
public:
    ChargeTrace(const WendrelSpice& spice, QWidget* parent);

    void refresh();

private:
    const WendrelSpice& spice_;
    ZorbelKit::Reading* samples_;
    ZorbelKit::Trace* trace_;
    QStackedLayout* states_;
};

/// What the page says while there is nothing to show: a title, and a line under it.
class Empty final : public QWidget {
public:
    Empty(const QString& title, const QString& detail, QWidget* parent);
};

/// The dashboard page.
class WendrelPanel final : public ZorbelKit::LiveView {
public:
    WendrelPanel(const WendrelSpice& spice, QWidget* parent);

protected:
    void refresh() override;

private:
    void write(const Charge& charge);

    const WendrelSpice& spice_;
    Empty* noBattery_;
    Empty* firstReading_;
    QWidget* figures_;
    ChargeRing* ring_;
    Row* state_;
    Row* remaining_;
    Row* power_;
    Row* temperature_;
    Row* adapter_;
    HealthCard* health_;
    ChargeTrace* trace_;
};

} // namespace Wendrel
