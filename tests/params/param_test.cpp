#include "params/param.h"

#include "arith/precision.h"
#include "arith/qq.h"
#include "base/exceptions.h"
#include "test_seed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace latopt {
namespace {

template <class P>
void readToken(P& parameter, const std::string& text)
{
    std::istringstream stream(text);
    parameter.unserialize(stream);
}

TEST(ParamText, FirstEqualsSignDividesNameFromValue)
{
    Param<long> beta;
    readToken(beta, " /* lead */ --beta=20");
    EXPECT_EQ(beta.value, 20); // the typed value follows the text
    EXPECT_EQ(beta.toString(), "--beta=20");
    ParamInfo info;
    readToken(info, "\n\t--a=b=c --next=1");
    EXPECT_EQ(info.name + " " + info.sval.get(), "a b=c");
    // An empty value is a text that holds no value: nothing is written.
    readToken(info, "--a=");
    EXPECT_EQ(info.name, "a");
    EXPECT_EQ(info.toString(), "");
}

TEST(ParamTextDeathTest, TokenWithoutEqualsSignIsFatal)
{
    ParamInfo info;
    EXPECT_EXIT(readToken(info, "--beta 20"), testing::ExitedWithCode(1),
                "\n\\*\\*\\* FAIL: Malformed parameter: beta\n$");
}

TEST(ParamAssignment, ValueIsWhatItsTextReadsBackAs)
{
    const unsigned long long seed = test::testSeed(20240611);
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    Param<long> integer;
    Param<unsigned long> natural;
    Param<long double> real;
    for (long round = 0; round < test::rounds(200); ++round) {
        const long i = static_cast<long>(random());
        integer = i;
        EXPECT_EQ(integer.value, i);
        EXPECT_EQ(integer.sval.get(), std::to_string(i));
        natural = random();
        EXPECT_EQ(natural.sval.get(), std::to_string(natural.value));
        // A long double travels through 17 significant digits: close to the source, and a fixed
        // point from then on.
        const long double x = std::ldexp(static_cast<long double>(static_cast<long>(random() >> 1)),
                                         static_cast<int>(random() % 120) - 80);
        real = x;
        EXPECT_LE(std::fabs(real.value - x), std::fabs(x) * 1e-16L);
        const std::string text = real.sval.get();
        real = real.value;
        EXPECT_EQ(real.sval.get(), text);
    }
    Param<bool> flag;
    flag = true;
    EXPECT_EQ(flag.sval.get(), "1");
}

TEST(ParamAssignment, CallbackSeesTheNewTextBeforeTheValueFollows)
{
    Param<long> beta;
    Array<std::string> names;
    Hash<ParamInfo*> registry;
    beta.init(20, "beta", "help", names, registry);
    std::vector<std::string> seen;
    std::vector<long> valuesSeen;
    beta.setChangeCallback([&](const std::string& text) {
        seen.push_back(text);
        valuesSeen.push_back(beta.value);
        EXPECT_TRUE(beta == text); // sval is written before the callback runs
    });
    beta = 7;
    EXPECT_EQ(beta.value, 7);
    // Text arriving from outside doesn't call it.
    beta.sval.set("9");
    beta.svalChangeCallback();
    EXPECT_EQ(beta.value, 9);
    // init assigns the default through operator=, which still reaches the callback; then it
    // installs one that does nothing.
    beta.init(3, "beta", "help", names, registry);
    beta = 4;
    EXPECT_EQ(seen, std::vector<std::string>({"7", "3"}));
    EXPECT_EQ(valuesSeen, std::vector<long>({20, 9})); // the value follows only after the callback
    EXPECT_EQ(beta.value, 4);
    EXPECT_EQ(registry("beta"), &beta);
    EXPECT_EQ(beta.defaultValue, "3");
}

TEST(ParamInfinity, InfTextsGiveTheEndsOfEachTypeAndWriteAsTheyRead)
{
    Param<long double> real;
    Param<QQ> exact;
    Param<long> integer;
    Param<unsigned long> natural;
    MutexParam<long> locked;
    for (const auto& [text, sign] : {std::pair<std::string, int>{"inf", 1}, {"-inf", -1}}) {
        SCOPED_TRACE(text);
        for (ParamInfo* parameter : std::vector<ParamInfo*>{&real, &exact, &integer, &natural, &locked}) {
            parameter->sval.set(text);
            parameter->svalChangeCallback();
        }
        EXPECT_EQ(real.value, sign * std::numeric_limits<long double>::infinity());
        EXPECT_TRUE(exact.value.isInf && exact.value.isPositive == (sign > 0));
        EXPECT_EQ(integer.value,
                  sign > 0 ? std::numeric_limits<long>::max() : std::numeric_limits<long>::min());
        EXPECT_EQ(natural.value, sign > 0 ? std::numeric_limits<unsigned long>::max() : 0ul);
        EXPECT_EQ(locked.get(), integer.value);
    }
    exact = -Constant<QQ>::INF();
    EXPECT_EQ(exact.sval.get(), "-inf");
    real = Constant<long double>::INF();
    EXPECT_EQ(real.sval.get(), "inf");
}

TEST(ParamCopy, ValueAndTextMoveButNameRegistryAndCallbackStay)
{
    Array<std::string> names;
    Hash<ParamInfo*> registry;
    Param<long> target;
    Param<long> source;
    target.init(1, "sol", "solutions", names, registry);
    source.init(5, "iters", "iterations", names, registry);
    int calls = 0;
    target.setChangeCallback([&](const std::string&) { ++calls; });
    target = source;
    EXPECT_EQ(target.value, 5);
    EXPECT_EQ(target.toString(), "--sol=5");
    EXPECT_EQ(target.description + " " + target.defaultValue, "solutions 1");
    EXPECT_EQ(registry("sol"), &target);
    EXPECT_EQ(calls, 0);

    MutexParam<long> rtime;
    MutexParam<long> other;
    other = 30;
    rtime = other;
    rtime.name = "rtime";
    EXPECT_EQ(rtime.toString(), "--rtime=30");
}

TEST(ParamCopy, AcrossNumberTypesTheTextFollowsTheConvertedValue)
{
    Param<QQ> exact;
    Param<long double> real;
    exact = QQ("1/3");
    real._assign(exact);
    EXPECT_NEAR(real.value, 1.0L / 3.0L, 1e-17L);
    EXPECT_EQ(real.sval.get(), "0.33333333333333333");
    // A text that holds no value stays empty.
    real._assign(Param<QQ>());
    EXPECT_EQ(real.sval.get(), "");
    EXPECT_EQ(real.value, 0.0L);
    for (const char* text : {"-1", "-inf", "5/2"}) {
        SCOPED_TRACE(text);
        exact = QQ(text);
        real._assign(exact);
        Param<QQ> back;
        back._assign(real);
        EXPECT_EQ(back.value, exact.value);
        EXPECT_EQ(back.sval.get(), exact.sval.get());
    }
    // With probe, a conversion that changes the text is a loss.
    exact = QQ("1/3");
    EXPECT_THROW(Precision::conv(exact, real, true), PrecisionException);
    exact = QQ("-5/4");
    EXPECT_NO_THROW(Precision::conv(exact, real, true));
    EXPECT_EQ(real.sval.get(), "-1.25");
}

} // namespace
} // namespace latopt
