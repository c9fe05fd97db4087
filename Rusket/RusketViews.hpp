#pragma once

#include "ZorbelKit/Controls/Glide.hpp"
#include "ZorbelKit/Controls/LiveView.hpp"

#include <QString>

#include <vector>

class QLabel;
class QStackedLayout;

namespace ZorbelKit {
class Reading;
}

namespace Rusket {

class RusketSpice;

/// A label over a figure.
class MenuStat : public QWidget {
public:
    MenuStat(const QString& label, QWidget* parent);
    void setValue(const QString& value);

private:
    QString label_;
    ZorbelKit::Reading* value_;
};

/// The block in the menu panel: load and memory in percent.
class RusketMenuSection final : public ZorbelKit::LiveView {
public:
    RusketMenuSection(const RusketSpice& spice, QWidget* parent);

protected:
    void refresh() override;

private:
    const RusketSpice& spice_;
    MenuStat* processor_;
    MenuStat* memory_;
};

/// A ring gauge of three quarters of a turn, the gap at the bottom; the percentage in it and the label under
/// it.
class Regulator final : public QWidget {
public:
    static constexpr int diameter = 84;

    Regulator(const QString& label, QWidget* parent);

    /// A fraction; the ring shows it between 0 and 1.
    void setValue(double fraction);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString label_;
    ZorbelKit::Reading* figure_;
    ZorbelKit::Glide arc_;
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

/// The last minute of processor load, newest on the right end of what is drawn; a full history spans the
/// width.
class RateTrace : public QWidget {
public:
    explicit RateTrace(QWidget* parent);

    /// Loads as fractions, oldest first.
    void setLoads(std::vector<double> loads);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::vector<double> loads_;
};

/// The dashboard page.
class RusketPanel final : public ZorbelKit::LiveView {
public:
    RusketPanel(const RusketSpice& spice, QWidget* parent);

protected:
    void refresh() override;

private:
    const RusketSpice& spice_;
    Regulator* processor_;
    Regulator* memory_;
    Readout* inUse_;
    Readout* installed_;
    Readout* pressure_;
    QLabel* placeholder_;
    RateTrace* trace_;
    QStackedLayout* history_;
};

} // namespace Rusket
