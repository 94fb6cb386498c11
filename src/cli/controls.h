#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kelp::cli {

enum class ControlKind {
    List,    // an entry of a drop-down list, by its text or its position
    Switch,  // a check box: 1/0, on/off, true/false, yes/no
    Hex,     // a register-like box: hexadecimal digits within [minHex, maxHex]
    Number,  // a text box that must start with a positive number
};

// One control of an evaluation window that --set can name, by its objectName, holding what
// the window would show for it.
struct Control {
    std::string name;
    ControlKind kind = ControlKind::Switch;
    std::vector<std::string> entries{};                    // List: as shown, in order
    int position = 0;                                      // List: the entry chosen
    bool on = false;                                       // Switch
    std::string text{};                                    // Hex, Number: the box's text
    int minHex = 0, maxHex = 0xFF;                         // Hex
    std::string (*canonical)(std::string_view) = nullptr;  // Hex: the box's own edit rule
    std::string
        unavailable{};  // why the window never lets it change on this model; empty if it does
    bool set = false;   // named by --set

    // The text the window shows (a switch as 1 or 0).
    std::string shown() const;
};

// The window's settings as named controls, in the order they are applied: a control whose
// entries depend on others comes after them.
class ControlSet {
public:
    Control& add(Control c);
    Control* find(std::string_view name);
    const Control& at(std::string_view name) const;
    std::span<const Control> all() const { return controls_; }

    int position(std::string_view name) const { return at(name).position; }
    bool on(std::string_view name) const { return at(name).on; }
    std::string shown(std::string_view name) const { return at(name).shown(); }

private:
    std::vector<Control> controls_;
};

// NAME=VALUE pairs in the order given; a later one for the same name wins.
using Assignments = std::vector<std::pair<std::string, std::string>>;

// Applies the assignments in the set's own order. `refresh` runs before each control is
// resolved, so that a list can be rebuilt from the controls before it. Returns an error text
// that names what is wrong and what is allowed, or nullopt.
std::optional<std::string> Apply(ControlSet& set, const Assignments& values,
                                 void (*refresh)(ControlSet&, Control&) = nullptr);

// One value into one control; the error names the allowed values.
std::optional<std::string> Assign(Control& c, std::string_view value);

// The entry for a value: its exact text, then its text without surrounding blanks and case,
// then a whole number as a position counted from 0.
std::optional<int> ResolveEntry(std::span<const std::string> entries, std::string_view value);

// The register boxes a configuration message carries, with their starting texts and rules.
void AddRegisterBoxes(ControlSet& set);

// "NAME  kind: allowed values" lines for --help.
std::string DescribeControls(const ControlSet& set);

}  // namespace kelp::cli
