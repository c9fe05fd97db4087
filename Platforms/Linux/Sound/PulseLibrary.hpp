#pragma once

#include <pulse/pulseaudio.h>

namespace Linux {

/// The functions of libpulse, which is loaded when sound is first asked for: it brings twenty other libraries
/// along, and who has no use for sound pays for none of them. A machine without it has no sound server
/// either.
struct PulseLibrary {
    /// Null where it cannot be loaded. Once loaded it stays. Takes some milliseconds the first time. Any
    /// thread.
    static const PulseLibrary* load();

    decltype(&::pa_context_connect) contextConnect = nullptr;
    decltype(&::pa_context_disconnect) contextDisconnect = nullptr;
    decltype(&::pa_context_get_card_info_list) contextGetCardInfoList = nullptr;
    decltype(&::pa_context_get_server_info) contextGetServerInfo = nullptr;
    decltype(&::pa_context_get_sink_info_list) contextGetSinkInfoList = nullptr;
    decltype(&::pa_context_get_source_info_list) contextGetSourceInfoList = nullptr;
    decltype(&::pa_context_get_state) contextGetState = nullptr;
    decltype(&::pa_context_new) contextNew = nullptr;
    decltype(&::pa_context_set_default_sink) contextSetDefaultSink = nullptr;
    decltype(&::pa_context_set_default_source) contextSetDefaultSource = nullptr;
    decltype(&::pa_context_set_sink_mute_by_name) contextSetSinkMuteByName = nullptr;
    decltype(&::pa_context_set_sink_volume_by_name) contextSetSinkVolumeByName = nullptr;
    decltype(&::pa_context_set_state_callback) contextSetStateCallback = nullptr;
    decltype(&::pa_context_set_subscribe_callback) contextSetSubscribeCallback = nullptr;
    decltype(&::pa_context_subscribe) contextSubscribe = nullptr;
    decltype(&::pa_context_unref) contextUnref = nullptr;
    decltype(&::pa_mainloop_dispatch) mainloopDispatch = nullptr;
    decltype(&::pa_mainloop_free) mainloopFree = nullptr;
    decltype(&::pa_mainloop_get_api) mainloopGetApi = nullptr;
    decltype(&::pa_mainloop_new) mainloopNew = nullptr;
    decltype(&::pa_mainloop_poll) mainloopPoll = nullptr;
    decltype(&::pa_mainloop_prepare) mainloopPrepare = nullptr;
    decltype(&::pa_operation_unref) operationUnref = nullptr;
    decltype(&::pa_proplist_gets) proplistGets = nullptr;
    decltype(&::pa_proplist_iterate) proplistIterate = nullptr;
};

} // namespace Linux
