#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kelp::loader {

// 21 5A 00 A6: "!Z", 0, A6.
inline const std::string kResetSequence{"\x21\x5A\x00\xA6", 4};
inline constexpr char kAcknowledge = 0x06;
inline constexpr int kIdentificationLength = 25;

// 07 0E N command payload checksum, with N = 1 + payload length and the checksum making
// N, command, payload and checksum sum to 0 modulo 256.
std::string buildLoaderPacket(char command, const std::string& payload);
uint8_t loaderChecksum(const std::string& countCommandPayload);

std::string eraseFrame();  // 07 0E 01 43 BC
std::string runFrame();    // 07 0E 04 55 00 00 00 A7

// The write frame for one image line; nullopt when the record is too long for the length
// byte (more than 251 data bytes).
std::optional<std::string> writeFrameFromLine(const std::string& line);

}  // namespace kelp::loader
