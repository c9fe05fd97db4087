#include "Platforms/Linux/Sound/PulseLibrary.hpp"

#include <dlfcn.h>

#include <cstdio>
#include <optional>

namespace Linux {

namespace {

class Loader {
public:
    Loader()
        : library_(::dlopen("libpulse.so.0", RTLD_NOW | RTLD_LOCAL)) {}

    template <class Function>
    void find(Function& function, const char* name) {
        function = library_ ? reinterpret_cast<Function>(::dlsym(library_, name)) : nullptr;
        isWhole_ = isWhole_ && function;
    }

    bool isWhole() const { return isWhole_; }

private:
    void* library_;
    bool isWhole_ = true;
};

std::optional<PulseLibrary> loaded() {
    Loader loader;
    PulseLibrary pulse;
    loader.find(pulse.contextConnect, "pa_context_connect");
    loader.find(pulse.contextDisconnect, "pa_context_disconnect");
    loader.find(pulse.contextGetCardInfoList, "pa_context_get_card_info_list");
    loader.find(pulse.contextGetServerInfo, "pa_context_get_server_info");
    loader.find(pulse.contextGetSinkInfoList, "pa_context_get_sink_info_list");
    loader.find(pulse.contextGetSourceInfoList, "pa_context_get_source_info_list");
    loader.find(pulse.contextGetState, "pa_context_get_state");
    loader.find(pulse.contextNew, "pa_context_new");
    loader.find(pulse.contextSetDefaultSink, "pa_context_set_default_sink");
    loader.find(pulse.contextSetDefaultSource, "pa_context_set_default_source");
    loader.find(pulse.contextSetSinkMuteByName, "pa_context_set_sink_mute_by_name");
    loader.find(pulse.contextSetSinkVolumeByName, "pa_context_set_sink_volume_by_name");
    loader.find(pulse.contextSetStateCallback, "pa_context_set_state_callback");
    loader.find(pulse.contextSetSubscribeCallback, "pa_context_set_subscribe_callback");
    loader.find(pulse.contextSubscribe, "pa_context_subscribe");
    loader.find(pulse.contextUnref, "pa_context_unref");
    loader.find(pulse.mainloopDispatch, "pa_mainloop_dispatch");
    loader.find(pulse.mainloopFree, "pa_mainloop_free");
    loader.find(pulse.mainloopGetApi, "pa_mainloop_get_api");
    loader.find(pulse.mainloopNew, "pa_mainloop_new");
    loader.find(pulse.mainloopPoll, "pa_mainloop_poll");
    loader.find(pulse.mainloopPrepare, "pa_mainloop_prepare");
    loader.find(pulse.operationUnref, "pa_operation_unref");
    loader.find(pulse.proplistGets, "pa_proplist_gets");
    loader.find(pulse.proplistIterate, "pa_proplist_iterate");
    if (!loader.isWhole()) {
        std::fprintf(stderr, "zorbel: no sound without libpulse.so.0\n");
        return std::nullopt;
    }
    return pulse;
}

} // namespace

const PulseLibrary* PulseLibrary::load() {
    static const std::optional<PulseLibrary> pulse = loaded();
    return pulse ? &*pulse : nullptr;
}

} // namespace Linux
