#include "cli/controls.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

#include "link/hexreading.h"
#include "link/registerrules.h"
#include "link/textforms.h"

namespace kelp::cli {

namespace {

std::string trimmedLower(std::string_view s) {
    const auto first = s.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    s = s.substr(first, s.find_last_not_of(' ') - first + 1);
    std::string out(s);
    for (char& ch : out) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    return out;
}

std::string quoted(std::string_view s) { return "\"" + std::string(s) + "\""; }

std::string entryList(std::span<const std::string> entries) {
    std::string out;
    for (size_t i = 0; i < entries.size(); ++i)
        out += (i ? ", " : "") + quoted(entries[i]) + " (" + std::to_string(i) + ")";
    return out;
}

std::optional<bool> readSwitch(std::string_view v) {
    const std::string s = trimmedLower(v);
    for (const char* yes : {"1", "on", "true", "yes"})
        if (s == yes) return true;
    for (const char* no : {"0", "off", "false", "no"})
        if (s == no) return false;
    return std::nullopt;
}

}  // namespace

std::string Control::shown() const {
    switch (kind) {
        case ControlKind::List:
            return position >= 0 && position < static_cast<int>(entries.size())
                       ? entries[static_cast<size_t>(position)]
                       : std::string();
        case ControlKind::Switch:
            return on ? "1" : "0";
        case ControlKind::Hex:
        case ControlKind::Number:
            break;
    }
    return text;
}

Control& ControlSet::add(Control c) { return controls_.emplace_back(std::move(c)); }

Control* ControlSet::find(std::string_view name) {
    for (Control& c : controls_)
        if (c.name == name) return &c;
    return nullptr;
}

const Control& ControlSet::at(std::string_view name) const {
    for (const Control& c : controls_)
        if (c.name == name) return c;
    throw std::logic_error("no control " + std::string(name));
}

std::optional<int> ResolveEntry(std::span<const std::string> entries, std::string_view value) {
    for (size_t i = 0; i < entries.size(); ++i)
        if (entries[i] == value) return static_cast<int>(i);
    const std::string wanted = trimmedLower(value);
    for (size_t i = 0; i < entries.size(); ++i)
        if (!wanted.empty() && trimmedLower(entries[i]) == wanted) return static_cast<int>(i);
    if (wanted.empty() || wanted.size() > 3 ||
        !std::all_of(wanted.begin(), wanted.end(), [](char ch) { return std::isdigit(ch); }))
        return std::nullopt;
    const int position = std::stoi(wanted);
    if (position >= static_cast<int>(entries.size())) return std::nullopt;
    return position;
}

std::optional<std::string> Assign(Control& c, std::string_view value) {
    if (!c.unavailable.empty()) return c.name + " cannot be set: " + c.unavailable;
    switch (c.kind) {
        case ControlKind::List: {
            const auto p = ResolveEntry(c.entries, value);
            if (!p)
                return c.name + " has no entry " + quoted(value) +
                       "; give an entry's text or its position: " + entryList(c.entries);
            c.position = *p;
            break;
        }
        case ControlKind::Switch: {
            const auto v = readSwitch(value);
            if (!v) return c.name + " is a switch: give 1 or 0 (on/off), not " + quoted(value);
            c.on = *v;
            break;
        }
        case ControlKind::Hex: {
            const bool digits =
                !value.empty() && value.size() <= 8 &&
                std::all_of(value.begin(), value.end(), [](char ch) { return std::isxdigit(ch); });
            // Read unsigned: the system's reading takes FFFF as -1.
            const auto v =
                digits ? std::optional<long long>(std::stoll(std::string(value), nullptr, 16))
                       : std::nullopt;
            if (!v || *v < c.minHex || *v > c.maxHex)
                return c.name + " takes a hexadecimal number from " + link::toHex(c.minHex) +
                       " to " + link::toHex(c.maxHex) + ", not " + quoted(value);
            c.text = c.canonical ? c.canonical(value) : link::toHex(*v);
            break;
        }
        case ControlKind::Number:
            if (!(link::leadingNumber(value) > 0))
                return c.name + " takes a positive number, not " + quoted(value);
            c.text = std::string(value);
            break;
    }
    c.set = true;
    return std::nullopt;
}

std::optional<std::string> Apply(ControlSet& set, const Assignments& values,
                                 void (*refresh)(ControlSet&, Control&)) {
    std::map<std::string, std::string, std::less<>> wanted;
    for (const auto& [name, value] : values) {
        if (!set.find(name)) {
            std::string names;
            for (const Control& c : set.all())
                if (c.unavailable.empty()) names += (names.empty() ? "" : ", ") + c.name;
            return "there is no setting " + quoted(name) + "; the settings are: " + names;
        }
        wanted[name] = value;
    }
    for (const Control& c : set.all()) {
        Control& control = *set.find(c.name);
        if (refresh) refresh(set, control);
        const auto value = wanted.find(c.name);
        if (value == wanted.end()) continue;
        if (auto error = Assign(control, value->second)) return error;
    }
    return std::nullopt;
}

void AddRegisterBoxes(ControlSet& set) {
    const link::RegisterTexts start;
    for (const link::SentRegisterBox& b : link::SentRegisterBoxes()) {
        Control c{.name = std::string(b.name), .kind = ControlKind::Hex};
        c.text = start.*b.field;
        c.canonical = b.rule;
        c.maxHex = b.rule == link::Verify16bitSFR  ? 0xFFFF
                   : b.rule == link::Verify1bitSFR ? 1
                                                   : 0xFF;
        set.add(std::move(c));
    }
}

std::string DescribeControls(const ControlSet& set) {
    std::string out;
    for (const Control& c : set.all()) {
        std::string line = "  " + c.name;
        line.resize(std::max<size_t>(line.size() + 1, 22), ' ');
        switch (c.kind) {
            case ControlKind::List:
                line += "list: " + entryList(c.entries);
                break;
            case ControlKind::Switch:
                line += "switch: 1 or 0";
                break;
            case ControlKind::Hex:
                line += "hex " + link::toHex(c.minHex) + ".." + link::toHex(c.maxHex);
                break;
            case ControlKind::Number:
                line += "number > 0";
                break;
        }
        line += "; now " + quoted(c.shown());
        if (!c.unavailable.empty()) line += " (not settable: " + c.unavailable + ")";
        out += line + "\n";
    }
    return out;
}

}  // namespace kelp::cli
