#pragma once

#include "Tonvik/Audio.hpp"
#include "ZorbelKit/Controls/LiveView.hpp"
#include "ZorbelKit/Controls/RowList.hpp"

#include <optional>
#include <vector>

class QLabel;

namespace ZorbelKit {
class Capsule;
class LineText;
class Reading;
class Slider;
class Symbol;
class SymbolButton;
} // namespace ZorbelKit

namespace Tonvik {

class TonvikSpice;

/// Where a part stands: on the dashboard page on cards, in the menu panel on the panel's own ground.
enum class Place { page, menu };

/// The level of the output in use, and its mute.
class VolumeControl final : public QWidget {
public:
    VolumeControl(TonvikSpice& spice, Place place, QWidget* parent);

    void refresh();

private:
    TonvikSpice& spice_;
    ZorbelKit::Reading* level_;
    ZorbelKit::SymbolButton* mute_;
    ZorbelKit::Slider* slider_;
};

/// One direction of a device. A click makes it the default.
class DeviceRow final : public ZorbelKit::ListRow {
public:
    DeviceRow(TonvikSpice& spice, QWidget* parent);

    /// The same again does nothing.
    void bind(const AudioDevice& device);

    const std::optional<AudioDevice>& device() const { return device_; } // none before the first

protected:
    std::optional<ZorbelKit::Color> shade() const override;
    bool event(QEvent* event) override;

private:
    void use();

    TonvikSpice& spice_;
    std::optional<AudioDevice> device_;
    ZorbelKit::Symbol* symbol_;
    ZorbelKit::LineText* name_;
    ZorbelKit::Capsule* inUse_;
    ZorbelKit::LineText* transport_;
};

/// The devices of one direction under their heading. More than so many scroll.
class DeviceList final : public QWidget {
public:
    static constexpr const char* nothing = "Nothing available.";

    DeviceList(TonvikSpice& spice, const QString& heading, Place place, int mostInSight, QWidget* parent);

    void setDevices(const std::vector<AudioDevice>& devices);

private:
    std::vector<AudioDevice> devices_; // what is listed
    const int rowHeight_;
    const int mostInSight_;
    ZorbelKit::RowList* rows_;
    QLabel* nothing_;
};

/// The block in the menu panel.
class TonvikMenuSection final : public ZorbelKit::LiveView {
public:
    static constexpr int mostOutputs = 4; // in sight
    static constexpr int mostInputs = 3;

    TonvikMenuSection(TonvikSpice& spice, QWidget* parent);

    int bleed() const override;

protected:
    void refresh() override;

private:
    TonvikSpice& spice_;
    VolumeControl* volume_;
    DeviceList* outputs_;
    DeviceList* inputs_;
};

/// The dashboard page.
class TonvikPanel final : public ZorbelKit::LiveView {
public:
    static constexpr int mostDevices = 6; // in sight, of each direction

    TonvikPanel(TonvikSpice& spice, QWidget* parent);

protected:
    void refresh() override;

private:
    TonvikSpice& spice_;
    VolumeControl* volume_;
    DeviceList* outputs_;
    DeviceList* inputs_;
};

} // namespace Tonvik
