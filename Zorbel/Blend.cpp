#include "Zorbel/Blend.hpp"

#include "Duvesk/Duvesk.hpp"
#include "Fotrel/Fotrel.hpp"
#include "Hushel/Hushel.hpp"
#include "Ledgra/Ledgra.hpp"
#include "Mordan/Mordan.hpp"
#include "Pintho/Pintho.hpp"
#include "Rusket/Rusket.hpp"
#include "Sivrel/Sivrel.hpp"
#include "Tonvik/Tonvik.hpp"
#include "Wendrel/Wendrel.hpp"
#include "ZorbelKit/Stall.hpp"

namespace Zorbel::Blend {

std::unique_ptr<ZorbelKit::Stall> build(const Host& host) {
    auto stall = std::make_unique<ZorbelKit::Stall>(host.defaults, host.loop);
    stall->add(std::make_unique<Sivrel::SivrelSpice>(host.loop, host.clock, host.defaults, host.statusBar));
    stall->add(std::make_unique<Mordan::MordanSpice>(host.loop, host.clock, host.pasteboard, host.workspace,
                                                     host.language));
    stall->add(std::make_unique<Pintho::PinthoSpice>(host.loop, host.clock, host.workspace,
                                                     host.windowScreens, host.accessibility, host.shortcuts));
    stall->add(std::make_unique<Rusket::RusketSpice>(host.loop, host.statistics));
    stall->add(std::make_unique<Wendrel::WendrelSpice>(host.loop, host.clock, host.batteryRegistry,
                                                       host.powerSources,
                                                       host.environment("ZORBEL_DEMO").has_value()));
    stall->add(std::make_unique<Duvesk::DuveskSpice>(host.loop, host.clock, host.fileManager, host.scanner));
    stall->add(std::make_unique<Fotrel::FotrelSpice>(Fotrel::FotrelSpice::Services{
        .loop = host.loop,
        .clock = host.clock,
        .processes = host.processes,
        .pasteboard = host.pasteboard,
        .savePanel = host.savePanel,
        .panels = host.panels,
        .language = host.language,
        .recogniser = host.textRecogniser,
        .pictures = host.pictures,
        .tool = host.captureTool,
    }));
    stall->add(std::make_unique<Hushel::HushelSpice>(Hushel::HushelSpice::Services{
        .loop = host.loop,
        .clock = host.clock,
        .defaults = host.defaults,
        .applications = host.applications,
        .workspace = host.workspace,
        .language = host.language,
        .alerts = host.alerts,
    }));
    stall->add(std::make_unique<Tonvik::TonvikSpice>(host.loop, host.audioHardware));
    stall->add(std::make_unique<Ledgra::LedgraSpice>(Ledgra::LedgraSpice::Services{
        .clock = host.clock,
        .defaults = host.defaults,
        .screens = host.screens,
        .fileManager = host.fileManager,
        .panels = host.floatingPanels,
        .files = host.parkedFiles,
    }));
    return stall;
}

} // namespace Zorbel::Blend
