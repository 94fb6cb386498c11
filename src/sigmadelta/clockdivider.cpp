#include "sigmadelta/clockdivider.h"

#include <array>

namespace kelp::sigmadelta {

namespace {

constexpr std::array kCDBits = {
    CDBitsEntry{"0", 0, "00", '0'},
    CDBitsEntry{"3", 3, "03", '3'},
    CDBitsEntry{"2 ", 2, "02", '2'},
    CDBitsEntry{"1", 1, "01", '1'},
};

char digitOf(int divider) { return static_cast<char>('0' + divider); }

}  // namespace

std::span<const CDBitsEntry> CDBits() { return kCDBits; }

const CDBitsEntry* CDBitsAt(int position) {
    if (position < 0 || position >= static_cast<int>(kCDBits.size())) return nullptr;
    return &kCDBits[static_cast<size_t>(position)];
}

std::string ClockDividerCommand(int divider) { return {'D', digitOf(divider)}; }

std::string LinkSpeedFor(int divider) { return divider == 3 ? "9600,N,8,1" : "57600,N,8,1"; }

DividerChoice DescribeDividerChoice(int oldDivider, int newDivider) {
    // The target still runs at the old divider until it has taken the command.
    return {ClockDividerCommand(newDivider), LinkSpeedFor(oldDivider), LinkSpeedFor(newDivider),
            std::string{'0', digitOf(newDivider)}, newDivider};
}

}  // namespace kelp::sigmadelta
