#include <gtest/gtest.h>

#include <QAction>
#include <QMenu>
#include <QTimer>

#include "e2e/e2etools.h"

namespace kelp::testing {
namespace {

// Pulled mid-run, the adapter's samples reach the analysis (what the user reads is the fault
// matrix's); once gone, Run says the port is not there. Back under its own name Run works
// again, and under another name it is chosen from the Port menu.
TEST(EndToEndPortFailure, AnAdapterPulledMidRunAndPluggedBackIn) {
    Bench b("unplug");
    ASSERT_TRUE(b.plug("Zylo570"));
    b.next("Zylo570");
    ASSERT_NE(b.window(), nullptr);

    QTimer::singleShot(400, [&] { b.board.reset(); });
    EXPECT_EQ(b.run(4000).size(), 1u);
    EXPECT_GT(b.count(), 0);
    EXPECT_LT(b.count(), 4000);
    b.expectKept(b.count());

    EXPECT_EQ(b.run(100), Texts{"Com Port Already Open by another host\r\n" + b.ports[0] +
                                " is not there: plug the adapter in again, or choose the port "
                                "it has now, then try again."});

    ASSERT_TRUE(b.plug("Zylo570"));
    b.expectCleanRun(200);

    ASSERT_TRUE(b.plug("Zylo570", {}, 1));
    auto* menu = child<QMenu>(b.window(), "PortMenu");
    emit menu->aboutToShow();
    QAction* other = nullptr;
    for (QAction* a : menu->actions()) {
        EXPECT_EQ(a->isChecked(), a->text().toStdString() == b.ports[0]);
        if (a->text().toStdString() == b.ports[1]) other = a;
    }
    ASSERT_NE(other, nullptr);
    other->trigger();
    EXPECT_EQ(b.app->link().port().portName(), b.ports[1]);
    b.expectCleanRun(300);
}

}  // namespace
}  // namespace kelp::testing
