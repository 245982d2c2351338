#include <gtest/gtest.h>

#include <new>

#include "frame/core/errors.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "support/fixture.h"

class MessageLineTest : public ZarkTest {};

TEST_F(MessageLineTest, MessageExpiresAfter25TicksCountedFromItsOwn) {
    gf_showMessage("hello", true);
    EXPECT_EQ(gf_messageLine().shownAtTick, 1);  // shown at windowTick 0 still counts as 1, so it can expire
    // Counted from tick 1, so it stands through 25 ticks and goes with the 26th.
    for (int i = 0; i < 25; ++i) {
        gf_messageTick();
        EXPECT_EQ(gf_messageLine().message, "hello") << "tick " << i;
    }
    gf_messageTick();
    EXPECT_EQ(gf_messageLine().message, "");
    EXPECT_EQ(gf_messageLine().shownAtTick, 0);
    EXPECT_TRUE(logHas("hello\n"));
    // Shown later, it counts from the tick it was shown at.
    for (int i = 0; i < 10; ++i) gf_messageTick();
    gf_showMessage("waiting", false);
    EXPECT_EQ(gf_messageLine().shownAtTick, 36);
    for (int i = 0; i < 24; ++i) gf_messageTick();
    EXPECT_EQ(gf_messageLine().message, "waiting");
    gf_messageTick();
    EXPECT_EQ(gf_messageLine().message, "");
    EXPECT_FALSE(logHas("waiting"));  // not logged when log is false
}

TEST_F(MessageLineTest, ErrorBlocksMessagesUntilClearedExplicitly) {
    gf_showMessage("before", false);
    gf_showError("it broke");
    EXPECT_EQ(gf_messageLine().message, "");
    EXPECT_EQ(gf_messageLine().error, "it broke");
    gf_showMessage("ignored", true);
    EXPECT_EQ(gf_messageLine().message, "");
    EXPECT_FALSE(logHas("ignored"));
    EXPECT_TRUE(logHas("Error it broke\n"));
    for (int i = 0; i < 100; ++i) gf_messageTick();
    EXPECT_EQ(gf_messageLine().error, "it broke");  // errors never expire
    gf_clearErrorAndMessage();
    gf_showMessage("after", false);
    EXPECT_EQ(gf_messageLine().message, "after");
    EXPECT_TRUE(panel.dirtyBands.load() & (1u << static_cast<unsigned>(Band::Message)));
}

namespace {
template <typename E>
void lf_throwAndReport(const E& e) {
    try {
        throw e;
    } catch (...) {
        gf_reportException("mainLoop");
    }
}
}  // namespace

TEST_F(MessageLineTest, ReportedExceptionsShowAndEndTheRunByClass) {
    lf_throwAndReport(zel::UserErrorException(41, "ZARK_P3D must be run from the ZARK_P3D folder!"));
    EXPECT_EQ(gf_messageLine().error, "41: ZARK_P3D must be run from the ZARK_P3D folder!");
    EXPECT_TRUE(exitRequests_.empty());  // the user can mend it: the run stops, nothing exits

    gf_clearErrorAndMessage();
    lf_throwAndReport(fmt::format_error("bad"));
    EXPECT_EQ(gf_messageLine().error, "std::format error: bad");
    EXPECT_TRUE(exitRequests_.empty());

    gf_clearErrorAndMessage();
    lf_throwAndReport(zel::SysErrorException(744, "null box"));
    EXPECT_EQ(gf_messageLine().error, "mainLoop: sys error 744: null box");
    ASSERT_EQ(exitRequests_.size(), 1u);
    EXPECT_EQ(exitRequests_[0], std::make_pair(5, 0));

    gf_clearErrorAndMessage();
    lf_throwAndReport(std::bad_alloc());
    lf_throwAndReport(std::out_of_range("vector"));
    lf_throwAndReport(std::logic_error("logic"));
    EXPECT_EQ(gf_messageLine().error, "mainLoop: logic");
    EXPECT_EQ(exitRequests_.size(), 4u);

    gf_clearErrorAndMessage();
    lf_throwAndReport(42);
    EXPECT_EQ(gf_messageLine().error, "Unknown exception");
    EXPECT_EQ(exitRequests_.size(), 4u);
}
