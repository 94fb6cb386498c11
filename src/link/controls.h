#pragma once

#include <span>
#include <string_view>

class QWidget;

namespace kelp::link {

// Disables a model's missing controls by name, one by one. A frame among them is not
// disabled as a whole, which would disable every control in it: its caption is greyed, and
// a control it holds that is not named stays usable (the DAC resolution displays, the "Hex"
// labels).
void DisableControls(QWidget* window, std::span<const std::string_view> names);

}  // namespace kelp::link
