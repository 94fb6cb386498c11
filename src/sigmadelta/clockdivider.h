#pragma once

#include <span>
#include <string>
#include <string_view>

namespace kelp::sigmadelta {

// One entry of the CDBits list (label "CD = ").
struct CDBitsEntry {
    std::string_view entry;   // the list text ("2 " ends in a blank)
    int divider;              // core-clock divider code CD
    std::string_view PLLCON;  // what PLLCONSFR shows for it
    char command;             // second byte of the ClockDividerCommand
};

// The list in its design order: "0", "3", "2 ", "1".
std::span<const CDBitsEntry> CDBits();
// nullptr for a position outside the list (no selection).
const CDBitsEntry* CDBitsAt(int position);

// "D" followed by the ASCII digit of the divider (0..3).
std::string ClockDividerCommand(int divider);
// The firmware link runs at 9600 baud while the core runs at divider 3, at 57600 otherwise.
std::string LinkSpeedFor(int divider);

// What one choice in CDBits does, from the old divider o (CurrentClockDivider) to the new d.
struct DividerChoice {
    std::string command;       // sent as one block, always, even when d equals o
    std::string sendSettings;  // port settings while sending: the old divider's speed
    std::string LinkSettings;  // the speed every later run uses
    std::string PLLCON;        // PLLCONSFR's new text
    int CurrentClockDivider;   // d
};
DividerChoice DescribeDividerChoice(int oldDivider, int newDivider);

}  // namespace kelp::sigmadelta
