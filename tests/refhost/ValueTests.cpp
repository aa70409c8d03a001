// SPDX-License-Identifier: MIT
// Values per action: layers, conversions, the three ways of writing, and values shown without a key.
#include "HostFixture.h"

#include <cmath>
#include <limits>

using namespace refhost;

namespace {

class ValueTests : public support::HostFixture {
protected:
    void SetUp() override
    {
        begin();
        item = &make("joint");
        ASSERT_TRUE(scene.addPackage(*item, "limits").ok());
        ASSERT_TRUE(scene.addPackage(*item, "note").ok());
        speed = item->channel("limitSpeed");
    }
    Result write(Channel& channel, Action action, double value, WriteMode mode = WriteMode::Plain,
                 double time = 0)
    {
        return scene.writeNumber(channel, action, time, value, mode);
    }

    Item* item = nullptr;
    Channel* speed = nullptr;
};

} // namespace

TEST_F(ValueTests, AnimFallsThroughToSetupAndThenToTheDefault)
{
    EXPECT_EQ(speed->number(Layer::Anim, 0), 3.3);
    EXPECT_FALSE(speed->isSet(Layer::Anim, 0));
    ASSERT_TRUE(write(*speed, Action::Setup, 5).ok());
    EXPECT_EQ(speed->number(Layer::Anim, 0), 5);
    ASSERT_TRUE(write(*speed, Action::Edit, 6).ok());
    EXPECT_EQ(speed->number(Layer::Setup, 0), 5);
    EXPECT_EQ(speed->number(Layer::Anim, 0), 6);
    ASSERT_TRUE(scene.setSetupMode(true).ok());
    EXPECT_EQ(speed->number(scene.evaluatedLayer(), 0), 5);
    ASSERT_TRUE(write(*speed, Action::Edit, 7).ok());
    EXPECT_EQ(speed->number(Layer::Setup, 0), 7);
    EXPECT_EQ(speed->number(Layer::Anim, 0), 6);
    ASSERT_TRUE(scene.clearValue(*speed, Action::Anim).ok());
    EXPECT_EQ(speed->number(Layer::Anim, 0), 7);
}

TEST_F(ValueTests, NumberKindsConvertAndOtherKindsAreRefused)
{
    EXPECT_EQ(speed->integer(Layer::Anim, 0), 3);
    EXPECT_EQ(item->channel("limitMax")->integer(Layer::Anim, 0), 360);
    ASSERT_TRUE(write(*item->channel("limitMax"), Action::Setup, 6.25).ok());
    EXPECT_EQ(item->channel("limitMax")->integer(Layer::Anim, 0), 6);
    ASSERT_TRUE(write(*speed, Action::Setup, -1e300).ok());
    EXPECT_EQ(speed->integer(Layer::Anim, 0), std::numeric_limits<std::int32_t>::min());
    ASSERT_TRUE(write(*item->channel("steps"), Action::Setup, 7.9).ok());
    EXPECT_EQ(item->channel("steps")->number(Layer::Anim, 0), 7);
    ASSERT_TRUE(write(*item->channel("limitOn"), Action::Setup, -0.5).ok());
    EXPECT_EQ(item->channel("limitOn")->integer(Layer::Anim, 0), 1);

    Channel& note = *item->channel("note");
    EXPECT_EQ(*note.text(Layer::Anim, 0), "none");
    ASSERT_TRUE(scene.writeText(note, Action::Setup, 0, "hello", WriteMode::Plain).ok());
    EXPECT_EQ(*note.text(Layer::Anim, 0), "hello");
    EXPECT_EQ(note.number(Layer::Anim, 0), 0);
    EXPECT_EQ(speed->text(Layer::Anim, 0), nullptr);
    Matrix34 matrix;
    EXPECT_FALSE(speed->matrix(Layer::Anim, 0, matrix));
    matrix.offset = {1, 2, 3};
    ASSERT_TRUE(scene.writeMatrix(*item->channel("rest"), Action::Setup, matrix).ok());
    Matrix34 read;
    EXPECT_TRUE(item->channel("rest")->matrix(Layer::Anim, 0, read));
    EXPECT_EQ(read, matrix);

    const std::string before = scene.digest();
    const double infinite = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(write(*speed, Action::Setup, std::nan("")).ok());
    EXPECT_FALSE(write(*speed, Action::Setup, infinite, WriteMode::CreateKey, 1).ok());
    EXPECT_FALSE(write(*speed, Action::Setup, 1, WriteMode::CreateKey, infinite).ok());
    EXPECT_FALSE(scene.setKeys(*speed, Action::Anim, {{.time = 0, .number = 1, .outSlope = infinite}}).ok());
    EXPECT_FALSE(write(note, Action::Setup, 1).ok());
    EXPECT_FALSE(write(*item->channel("rest"), Action::Setup, 1).ok());
    EXPECT_FALSE(scene.writeText(*speed, Action::Setup, 0, "x", WriteMode::Plain).ok());
    matrix.linear[1][1] = infinite;
    EXPECT_FALSE(scene.writeMatrix(*item->channel("rest"), Action::Setup, matrix).ok());
    EXPECT_EQ(scene.digest(), before);
}

TEST_F(ValueTests, AKeyIsWrittenOverAnExistingOneAndMadeOnlyOnRequest)
{
    ASSERT_TRUE(write(*speed, Action::Anim, 1, WriteMode::Key, 2).ok());
    EXPECT_FALSE(speed->isKeyed(Layer::Anim));
    EXPECT_EQ(speed->number(Layer::Anim, 77), 1);
    const Key curved{
        .time = 2, .number = 3, .inSlope = 4, .outSlope = 5, .interpolation = Interpolation::Cubic};
    ASSERT_TRUE(scene.putKey(*speed, Action::Anim, curved).ok());
    ASSERT_TRUE(write(*speed, Action::Anim, 9, WriteMode::Key, 2 + 5e-7).ok());
    ASSERT_TRUE(write(*speed, Action::Anim, 11, WriteMode::CreateKey, 4).ok());
    ASSERT_EQ(speed->keys(Layer::Anim).count(), 2u);
    EXPECT_EQ(speed->keys(Layer::Anim).keys()[0], (Key{2, 9, 4, 5, Interpolation::Cubic}));
    EXPECT_EQ(speed->number(Layer::Anim, 4), 11);
    ASSERT_TRUE(scene.removeKey(*speed, Action::Anim, 2).ok());
    EXPECT_FALSE(scene.removeKey(*speed, Action::Anim, 2).ok());
    EXPECT_EQ(speed->number(Layer::Anim, 0), 11);

    Channel& steps = *item->channel("steps");
    ASSERT_TRUE(
        scene.setKeys(steps, Action::Anim, {{.time = 1, .number = 9.7}, {.time = 0, .number = 2}}).ok());
    EXPECT_EQ(steps.number(Layer::Anim, 0.9), 2);
    EXPECT_EQ(steps.number(Layer::Anim, 1), 9);
    Channel& note = *item->channel("note");
    ASSERT_TRUE(scene.writeText(note, Action::Anim, 1, "late", WriteMode::CreateKey).ok());
    ASSERT_TRUE(scene.writeText(note, Action::Anim, 0, "early", WriteMode::CreateKey).ok());
    EXPECT_EQ(*note.text(Layer::Anim, 0.5), "early");
    EXPECT_EQ(*note.text(Layer::Anim, 2), "late");
}

TEST_F(ValueTests, AKeyedChannelShowsAnUnkeyedValueUntilTheTimeChanges)
{
    ASSERT_TRUE(host.setTime(1).ok());
    ASSERT_TRUE(write(*speed, Action::Anim, 10, WriteMode::CreateKey, 0).ok());
    ASSERT_TRUE(write(*speed, Action::Anim, 20, WriteMode::CreateKey, 2).ok());
    commit();
    const std::string before = scene.digest();
    begin();
    ASSERT_TRUE(write(*speed, Action::Anim, 99, WriteMode::Key, 1).ok());
    ASSERT_TRUE(write(*speed, Action::Anim, 98, WriteMode::Key, 1).ok());
    commit();
    EXPECT_EQ(speed->number(Layer::Anim, 1), 98);
    EXPECT_EQ(speed->number(Layer::Anim, 0.5), 12.5);
    EXPECT_TRUE(speed->isShownUnkeyed(Layer::Anim, 1));
    EXPECT_EQ(speed->keys(Layer::Anim).count(), 2u);

    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_EQ(scene.digest(), before);
    EXPECT_EQ(speed->number(Layer::Anim, 1), 15);
    ASSERT_TRUE(scene.journal().redo().ok());
    EXPECT_EQ(speed->number(Layer::Anim, 1), 98);
    // Done again at another time it isn't shown, at its own time it is.
    ASSERT_TRUE(scene.journal().undo().ok());
    ASSERT_TRUE(host.setTime(3).ok());
    ASSERT_TRUE(scene.journal().redo().ok());
    EXPECT_EQ(speed->number(Layer::Anim, 1), 15);
    ASSERT_TRUE(host.setTime(1).ok());
    EXPECT_EQ(speed->number(Layer::Anim, 1), 15);
    ASSERT_TRUE(scene.journal().undo().ok());
    ASSERT_TRUE(scene.journal().redo().ok());
    EXPECT_EQ(speed->number(Layer::Anim, 1), 98);

    ASSERT_TRUE(host.setTime(3).ok());
    ASSERT_TRUE(host.setTime(1).ok());
    EXPECT_EQ(speed->number(Layer::Anim, 1), 15);
    EXPECT_FALSE(speed->isShownUnkeyed(Layer::Anim, 1));
    EXPECT_EQ(scene.digest(), before);
    // A value that was over before an edit doesn't come back with the edit's undo.
    begin();
    ASSERT_TRUE(write(*speed, Action::Anim, 50, WriteMode::Key, 1).ok());
    commit();
    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_EQ(speed->number(Layer::Anim, 1), 15);
}

TEST_F(ValueTests, AKeyMadeWhereAValueIsShownTakesItsPlace)
{
    ASSERT_TRUE(write(*speed, Action::Anim, 10, WriteMode::CreateKey, 5).ok());
    ASSERT_TRUE(write(*speed, Action::Anim, 99, WriteMode::Key, 0).ok());
    ASSERT_TRUE(write(*speed, Action::Anim, 42, WriteMode::CreateKey, 0).ok());
    EXPECT_EQ(speed->number(Layer::Anim, 0), 42);
    EXPECT_FALSE(speed->isShownUnkeyed(Layer::Anim, 0));
}

TEST_F(ValueTests, ChannelsThatNobodyWroteStaySmall) { EXPECT_LE(sizeof(Channel), 64u); }
