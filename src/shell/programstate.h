#pragma once

#include "link/runstate.h"
#include "loader/serialloader.h"
#include "sar/sarrun.h"
#include "sigmadelta/sdrun.h"

namespace kelp::shell {

// The program-wide state: one instance, owned by the composition root, living as long as
// the program, assembled from the pieces each layer owns. The link's own state (the timer's
// flag, the last block sent) lives with the link.
struct ProgramState {
    loader::LoaderState loader;  // ModelName, LoaderReply, DownloadOk, HexSizeLimit
    // Set when a 58X-group model is chosen; nothing clears it while the program runs.
    bool Is58XGroup = false;
    link::RunState run;   // SampleCount, StopRequested
    sar::SarResults sar;  // SampleBuffer, MinCode, MaxCode
    // PrimaryCodeBuffer, PrimaryRawBuffer, AuxCodeBuffer, their extremes, PacketByte1..6
    sigmadelta::SdResults sd;
    // LinkSettings, CurrentClockDivider, SetupInProgress, PrimaryRangeIndex
    sigmadelta::SdLinkState sdLink;
};

}  // namespace kelp::shell
