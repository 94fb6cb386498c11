#include "link/controls.h"

#include <gtest/gtest.h>

#include <QComboBox>
#include <QGroupBox>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>
#include <array>
#include <memory>

#include "support/widgets.h"

namespace kelp::link {
namespace {

using namespace std::string_view_literals;
using testing::child;

constexpr const char* kNames[] = {"Frame", "Caption", "List", "Display", "Box"};

// A window with a frame "Frame" holding a caption "Caption", a list "List" and a display
// "Display", and a box "Box" outside it; "Frame", "List" and "Box" are disabled.
std::unique_ptr<QWidget> disabledWindow() {
    auto window = std::make_unique<QWidget>();
    auto* frame = new QGroupBox(QStringLiteral("Auxiliary ADC"));
    auto* list = new QComboBox;
    list->addItem("Bipolar");
    QWidget* const widgets[] = {frame, new QLabel("Mode"), list, new QLineEdit, new QLineEdit};
    auto* inside = new QVBoxLayout(frame);
    auto* outer = new QVBoxLayout(window.get());
    for (int i = 0; i < 5; ++i) {
        widgets[i]->setObjectName(kNames[i]);
        (i == 0 || i == 4 ? outer : inside)->addWidget(widgets[i]);
    }
    window->resize(300, 200);
    constexpr std::array names = {"Frame"sv, "List"sv, "Box"sv, "Missing"sv};
    DisableControls(window.get(), names);
    return window;
}

// The darkest grey among the pixels of the frame's caption line.
int darkestCaptionPixel(QGroupBox* frame) {
    const QImage image = frame->grab().toImage();
    int darkest = 255;
    for (int y = 0; y < frame->fontMetrics().height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            darkest = std::min(darkest, qGray(image.pixel(x, y)));
    return darkest;
}

TEST(DisableControls, FrameKeepsItsControlsAndGreysOnlyItsCaption) {
    const auto window = disabledWindow();
    std::string enabled;
    for (const char* name : kNames)
        enabled += child<QWidget>(window.get(), name)->isEnabled() ? '1' : '0';
    EXPECT_EQ(enabled, "11010");

    // The caption reads no darker than disabled text, where an untouched frame's is darker.
    auto* frame = child<QGroupBox>(window.get(), "Frame");
    const int grey = qGray(frame->palette().color(QPalette::Disabled, QPalette::WindowText).rgb());
    QGroupBox plain(frame->title());
    plain.resize(frame->size());
    EXPECT_GE(darkestCaptionPixel(frame), grey - 8);
    EXPECT_LT(darkestCaptionPixel(&plain), grey - 8);

    // A control in the frame shares its palette with the same control of the next such window:
    // the style's cached drawings of the first serve the second.
    const auto next = disabledWindow();
    for (const char* name : {"Caption", "List", "Display"})
        EXPECT_EQ(child<QWidget>(window.get(), name)->palette().cacheKey(),
                  child<QWidget>(next.get(), name)->palette().cacheKey())
            << name;
}

}  // namespace
}  // namespace kelp::link
