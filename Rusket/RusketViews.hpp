#pragma once

#include "ZorbelKit/Controls/LiveView.hpp"

#include <QString>

class QLabel;
class QStackedLayout;

namespace ZorbelKit {
class MenuStat;
class Reading;
class RingGauge;
class Trace;
} // namespace ZorbelKit

namespace Rusket {

class RusketSpice;

/// The block in the menu panel: load and memory in percent.
class RusketMenuSection final : public ZorbelKit::LiveView {
public:
    RusketMenuSection(const RusketSpice& spice, QWidget* parent);

protected:
    void refresh() override;

private:
    const RusketSpice& spice_;
    ZorbelKit::MenuStat* processor_;
    ZorbelKit::MenuStat* memory_;
};

/// A label over a value, 74 points wide.
class Readout : public QWidget {
public:
    static constexpr int columnWidth = 74;

    Readout(const QString& label, QWidget* parent);
    void setValue(const QString& value);

private:
    QString label_;
    ZorbelKit::Reading* value_;
};

/// The dashboard page.
class RusketPanel final : public ZorbelKit::LiveView {
public:
    RusketPanel(const RusketSpice& spice, QWidget* parent);

protected:
    void refresh() override;

private:
    const RusketSpice& spice_;
    ZorbelKit::RingGauge* processor_;
    ZorbelKit::RingGauge* memory_;
    Readout* inUse_;
    Readout* installed_;
    Readout* pressure_;
    QLabel* placeholder_;
    ZorbelKit::Trace* trace_;
    QStackedLayout* history_;
};

} // namespace Rusket
