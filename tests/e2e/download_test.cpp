#include <gtest/gtest.h>

#include <QLineEdit>

#include "e2e/e2etools.h"

namespace kelp::testing {
namespace {

TEST(EndToEndDownload, EachImageLandsInTheBoardMemory) {
    const struct {
        const char *model, *image, *window;
        bool paced;
    } cases[] = {
        {"Zylo570", "SAR_KELP.hex", "SAR_KELP", true},
        {"Zylo530", "SD_KELP.hex", "SD_KELP", false},
        {"Zylo581", "58X_SDkelp.hex", "SD_KELP", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.model);
        Bench b(c.model);
        const fs::path images = b.withImages();
        const fs::path memory = b.dir / "memory.bin";
        QStringList args{"--memory-out", QString::fromStdString(memory.string()), "--start",
                         "loader"};
        if (!c.paced) args << "--no-pacing";
        ASSERT_TRUE(b.plug(c.model, args));
        EXPECT_EQ(b.download(), Texts{});

        EXPECT_FALSE(b.app->link().port().isOpen());
        ASSERT_NE(b.window(), nullptr);
        EXPECT_EQ(b.window()->objectName(), c.window);
        EXPECT_TRUE(b.app->mainWindow()->isHidden());
        EXPECT_EQ(child<QLineEdit>(b.app->mainWindow(), "VantorText")->text(),
                  QString(c.model) + " version 2.1");
        EXPECT_EQ(b.state().loader.ModelName, c.model);
        EXPECT_TRUE(readFile(memory) == expectedMemory(images / c.image));

        // The board saw: reset, erase, one write per data record, run; all at the loader's speed.
        std::string steps;
        for (const auto& [line, baud] : loggedWithSpeed(b.log(), "")) {
            EXPECT_EQ(baud, 9600) << line;
            if (line.rfind("WRITE ", 0) != 0) steps += line + " ";
            if (line == "RUN") break;
        }
        EXPECT_EQ(steps, "RESET ERASE RUN ");
        EXPECT_EQ(loggedWithSpeed(b.log(), "WRITE ").size(),
                  readLines(images / c.image).size() - 1);
    }
}

}  // namespace
}  // namespace kelp::testing
