#include "params/params.h"

#include "arith/qq.h"
#include "test_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace latopt {
namespace {

const std::string DEFAULT_ROW =
    "--help=0 --verb=0 --consistency=0 --eenum=1 --beta=20 --eprune=3 --btime=0 "
    "--deep=0 --collectLimit=100 --pair=1 --pairLimit=10 --sieve=0 --sample=0 "
    "--sampleLimit=1000 --scale=0 --translate=0 --reinsert=1 --variate=1 --rtime=0 "
    "--iters=-1 --sol=1 --bench=0";

void readRow(Params& params, const std::string& row)
{
    std::istringstream stream(row);
    params.unserialize(stream);
}

std::vector<std::string> tokens(const std::string& row)
{
    std::istringstream stream(row);
    std::vector<std::string> result;
    for (std::string token; stream >> token;)
        result.push_back(token);
    return result;
}

TEST(ParamsTable, DefaultRowListsEverySettingInRegistrationOrder)
{
    EXPECT_EQ(Params().toString(), DEFAULT_ROW);
    EXPECT_EQ(ExtendedParams<long double>().toString(), DEFAULT_ROW + " --snorm=-1 --tnorm=-inf");
    EXPECT_EQ(ExtendedParams<QQ>().toString(), DEFAULT_ROW + " --snorm=-1 --tnorm=-inf");
}

// The registry holds every member but hostedRun, under its name, at its default; the switches
// are exactly the boolean settings.
TEST(ParamsTable, RegistryPointsAtTheMembersAndOmitsHostedRun)
{
    ExtendedParams<QQ> params;
    ASSERT_EQ(params.names.dimension(), 24);
    ASSERT_EQ(params.registry.dimension(), 24);
    std::set<const ParamInfo*> members;
    std::vector<std::string> switches;
    for (long i = 1; i <= params.names.dimension(); ++i) {
        const ParamInfo* parameter = params.registry[i].right;
        EXPECT_EQ(params.registry[i].left, params.names[i]);
        EXPECT_EQ(parameter->name, params.names[i]);
        EXPECT_EQ(parameter->defaultValue, parameter->sval.get()) << parameter->name;
        members.insert(parameter);
        if (parameter->isBoolean()) switches.push_back(params.names[i]);
    }
    EXPECT_EQ(members.size(), 24u);
    EXPECT_EQ(members.count(&params.hostedRun), 0u);
    EXPECT_EQ(params.registry("tnorm"), &params.tnorm);
    EXPECT_EQ(params.registry("rtime"), &params.rtime);
    EXPECT_EQ(params.hostedRun.toString(), "");
    EXPECT_EQ(switches, std::vector<std::string>({"help", "consistency", "eenum", "deep", "pair", "sieve",
                                                  "sample", "scale", "translate", "reinsert", "variate"}));
}

TEST(ParamsHelp, SeeAlsoTailsCompleteTheTexts)
{
    Params params;
    // The tails as they stand, odd spacing and spelling included.
    for (const auto& [parameter, tail] : std::vector<std::pair<ParamInfo*, std::string>>{
             {&params.beta,
              "per default, which can be changed utilizing this parameter (see also: --btime)."},
             {&params.btime, "when ennumerating a block of lattice vectors (see also: --beta, eenum)."},
             {&params.eenum, "in a deterministic way (see also: --deep, --beta, --btime, --eprune)."},
             {&params.collectLimit, "the collected, good vectors. (see also:  --pair, --sieve, --sample)."},
             {&params.eprune, "then use 2 or 3 (see: also --beta)."}})
        EXPECT_TRUE(parameter->description.ends_with(tail)) << parameter->description;
    // Every name a tail points to is a registered setting.
    for (long i = 1; i <= params.names.dimension(); ++i) {
        const std::string& text = params.registry[i].right->description;
        const std::string::size_type tail = text.find(" (see");
        if (tail == std::string::npos) continue;
        EXPECT_EQ(text.substr(text.size() - 2), ").") << params.names[i];
        std::string related = text.substr(text.find("--", tail));
        std::replace_if(
            related.begin(), related.end(), [](char c) { return std::strchr("-,).", c); }, ' ');
        for (const std::string& name : tokens(related))
            EXPECT_GT(params.registry.indexOf(name), 0) << name << " in " << params.names[i];
    }
}

TEST(ParamsRead, RowsRoundTripInAnyOrder)
{
    const unsigned long long seed = test::testSeed(71);
    SCOPED_TRACE(test::seedTrace(seed));
    std::mt19937_64 random(seed);
    for (long round = 0; round < test::rounds(20); ++round) {
        ExtendedParams<QQ> written;
        written.beta = static_cast<long>(random() % 100) - 50;
        written.pair = random() % 2 == 0;
        written.collectLimit = random();
        written.rtime = static_cast<long>(random() % 1000);
        written.bench = static_cast<float>(random() % 1000) / 8.0f;
        written.snorm = QQ(static_cast<long>(random() % 1000)) / QQ(static_cast<long>(random() % 7 + 1));
        written.tnorm = round % 2 == 0 ? -Constant<QQ>::INF() : QQ("-7/3");
        const std::string row = written.toString();
        std::vector<std::string> shuffled = tokens(row);
        std::shuffle(shuffled.begin(), shuffled.end(), random);
        std::string reordered = " \t";
        for (const std::string& token : shuffled)
            reordered += token + " \t ";
        ExtendedParams<QQ> read;
        readRow(read, reordered);
        EXPECT_EQ(read.toString(), row);
        EXPECT_EQ(read.snorm.value, written.snorm.value);
        EXPECT_EQ(read.tnorm.value, written.tnorm.value);
        EXPECT_EQ(read.collectLimit.value, written.collectLimit.value);
        EXPECT_EQ(read.rtime.get(), written.rtime.get());
        EXPECT_EQ(read.bench.value, written.bench.value);
    }
}

TEST(ParamsRead, LaterNamesOverwriteAndTheRowEndsAtItsLineFeed)
{
    ExtendedParams<long double> params;
    std::istringstream stream("--sol=5 --beta=7=8 --eprune= --sol=9 --tnorm=inf --iters=-inf\n--verb=2");
    params.unserialize(stream);
    EXPECT_EQ(params.sol.value, 9);
    EXPECT_EQ(params.beta.value, 7);
    EXPECT_EQ(params.tnorm.value, Constant<long double>::INF());
    EXPECT_EQ(params.iters.value, std::numeric_limits<long>::min());
    EXPECT_EQ(params.verb.value, 0);
    EXPECT_EQ(params.eprune.value, 3);
    EXPECT_EQ(stream.peek(), '\n');
    std::string row = DEFAULT_ROW + " --snorm=-1 --tnorm=inf";
    row.replace(row.find("--beta=20"), 9, "--beta=7=8");
    row.replace(row.find("--iters=-1"), 10, "--iters=-inf");
    row.replace(row.find("--sol=1"), 7, "--sol=9");
    row.erase(row.find("--eprune=3 "), 11); // an empty text takes no room
    EXPECT_EQ(params.toString(), row);
}

TEST(ParamsRead, EmptyRowForgetsTheRegistrationOrderButNotTheValues)
{
    Params params;
    params.beta = 5;
    readRow(params, "  \t\r\n--sol=3");
    EXPECT_EQ(params.names.dimension(), 0);
    EXPECT_EQ(params.toString(), "");
    EXPECT_EQ(params.beta.value, 5);
    EXPECT_EQ(params.sol.value, 1);
}

TEST(ParamsReadDeathTest, MalformedAndUnknownTokensAreFatal)
{
    Params params;
    EXPECT_EXIT(readRow(params, "--beta=3 --sol 4"), testing::ExitedWithCode(1),
                "\n\\*\\*\\* FAIL: Malformed parameter: sol\n$");
    EXPECT_EXIT(readRow(params, "--gamma=1"), testing::ExitedWithCode(1),
                "\n\\*\\*\\* FAIL: Unknown parameter: gamma\n$");
}

// Values and texts move, hostedRun included; the registry, defaults and callbacks of the target stay.
TEST(ParamsCopy, ValuesAndTextsMoveAndTheRegistryStays)
{
    Params source;
    source.beta = 31;
    source.hostedRun = true;
    source.rtime = 600;
    readRow(source, "--pairLimit=77 --help=1");
    Params target;
    int calls = 0;
    target.scale.setChangeCallback([&](const std::string&) { ++calls; });
    source.scale = true;
    target._assign(source);
    EXPECT_EQ(target.toString(), source.toString());
    EXPECT_TRUE(target.hostedRun.value);
    EXPECT_EQ(target.pairLimit.value, 77u);
    EXPECT_EQ(target.rtime.get(), 600);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(target.registry("beta"), &target.beta);
    EXPECT_EQ(target.beta.defaultValue, "20");
    target._assign(target);
    EXPECT_EQ(target.toString(), source.toString());
    const Params copy(source);
    EXPECT_EQ(copy.toString(), source.toString());
    EXPECT_EQ(copy.registry[copy.registry.indexOf("sol")].right, &copy.sol);
}

TEST(ParamsCopy, ExtendedSettingsCrossNumberTypes)
{
    ExtendedParams<long double> real;
    real.snorm = 2.5L;
    real.verb = 2;
    ExtendedParams<QQ> exact;
    exact._assign(real);
    EXPECT_EQ(exact.snorm.value, QQ("5/2"));
    EXPECT_TRUE(exact.tnorm.value.isInf && !exact.tnorm.value.isPositive);
    EXPECT_EQ(exact.toString(), real.toString().replace(real.toString().find("2.5"), 3, "2:1/2"));
    exact.tnorm = QQ("-7/4");
    real._assign(exact);
    EXPECT_EQ(real.tnorm.value, -1.75L);
    EXPECT_EQ(real.tnorm.sval.get(), "-1.75");
}

} // namespace
} // namespace latopt
