#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "link/link.h"

namespace kelp::link {

// `PacketByte1` to `PacketByte6`: the bytes of the last good sigma-delta frame.
using PacketBytes = std::array<int32_t, 6>;

inline constexpr int kFrameLength = 13;  // CR and six bytes as two hex digits each
// Characters that must be waiting before the receiver reads. A whole frame, so that a frame
// whose last digits are still on the wire is never parsed with short fields.
inline constexpr int kFrameThreshold = kFrameLength;
inline constexpr int kFrameTimeoutMs = 1000;

// The six two-digit fields after the carriage return at the start of `frame`; a field cut
// short reads the digits that are there, a missing one reads 0.
PacketBytes ParseFrame(std::string_view frame);

// `RXDataPacket`: waits up to one second, counted from the call, for one frame. Reads
// everything waiting once `threshold` characters (at least one) wait; text before a carriage
// return is dropped, and what follows the first frame in the same read is dropped with it.
// Ready means a frame was taken into `bytes`; otherwise `bytes` keeps the previous frame.
WaitResult RXDataPacket(Link& link, PacketBytes& bytes, int threshold = kFrameThreshold);

}  // namespace kelp::link
