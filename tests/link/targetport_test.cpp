#include "link/targetport.h"

#include <gtest/gtest.h>

#include "support/fakes.h"

namespace kelp::link {
namespace {

TEST(OpenTargetPort, OpensWithThePortsOwnSettings) {
    testing::FakeWorld world;
    world.port.setSettings("57600,N,8,1");
    EXPECT_TRUE(OpenTargetPort(world.port));
    EXPECT_TRUE(world.port.isOpen());
    EXPECT_EQ(world.port.settings(), "57600,N,8,1");
    // A second opening fails and leaves the first one as it was.
    EXPECT_FALSE(OpenTargetPort(world.port));
    EXPECT_TRUE(world.port.isOpen());
    EXPECT_EQ(world.port.openCount, 1);
}

TEST(OpenTargetPort, FalseForEveryOpeningError) {
    for (auto error : {platform::OpenError::Busy, platform::OpenError::NotFound,
                       platform::OpenError::PermissionDenied, platform::OpenError::Other}) {
        testing::FakeWorld world;
        world.port.openResult = error;
        EXPECT_FALSE(OpenTargetPort(world.port));
        EXPECT_FALSE(world.port.isOpen());
    }
}

}  // namespace
}  // namespace kelp::link
