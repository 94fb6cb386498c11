#include "link/rxdatapacket.h"

#include <algorithm>
#include <string>

#include "link/hexreading.h"

namespace kelp::link {

PacketBytes ParseFrame(std::string_view frame) {
    PacketBytes bytes{};
    for (size_t i = 0; i < bytes.size(); ++i) {
        const size_t at = 1 + 2 * i;
        bytes[i] = at < frame.size() ? hexField(frame.substr(at, 2)) : 0;
    }
    return bytes;
}

WaitResult RXDataPacket(Link& link, PacketBytes& bytes, int threshold) {
    // With nothing waiting there is nothing to read: a lower threshold would spin on an empty
    // read and never let the timer tick.
    threshold = std::max(threshold, 1);
    std::string buffer;
    link.arm(kFrameTimeoutMs);
    WaitResult result;
    for (;;) {
        result = link.await(Count::AtLeast, threshold);
        if (result != WaitResult::Ready) break;
        buffer += link.readAll();
        if (buffer.front() == '\r') {
            bytes = ParseFrame(buffer);
            break;
        }
        // Out of step: resume at the next frame's start, and wait for more of it.
        const size_t cr = buffer.find('\r');
        buffer.erase(0, cr == std::string::npos ? buffer.size() : cr);
    }
    link.disarm();
    return result;
}

}  // namespace kelp::link
