#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "platform/Foundation/NSPredicate.h"

namespace tessaly {
namespace {

const Dictionary& photo() {
    static const Dictionary properties{
        {"title", "Été à Zürich"},
        {"file", "IMG_0042.HEIC"},
        {"percent", "50% [a] *"},
        {"rating", 4},
        {"exposure", 0.5},
        {"favorite", true},
        {"big", std::int64_t{9007199254740993}},
        {"nan", std::numeric_limits<double>::quiet_NaN()},
        {"taken", NSDate{1000.25}},
        {"keywords", Array{"Sea", "Zürich", 7}},
        {"empty", Array{}},
        {"album.owner.name", "Ann"},
        {"in", "reserved"},
        {"pattern", "IMG_\\d+\\..*"},
        {"broken", "("},
        {"SELF", "the photo"},
    };
    return properties;
}

std::string messageOf(std::string_view format, std::vector<Value> arguments = {}) {
    std::string error;
    return NSPredicate::predicateWithFormat(format, arguments, &error) ? "" : error;
}

bool holds(std::string_view format, const std::vector<Value>& arguments = {}) {
    std::string error;
    const auto predicate = NSPredicate::predicateWithFormat(format, arguments, &error);
    EXPECT_TRUE(predicate) << format << ": " << error;
    return predicate && predicate->evaluateWithObject([](std::string_view key) { return photo()[key]; });
}

std::string repeated(std::size_t count, std::string_view text) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i) all += text;
    return all;
}

struct Case {
    const char* format;
    bool expected;
    std::vector<Value> arguments;
};

void expectAll(std::initializer_list<Case> cases) {
    for (const auto& [format, expected, arguments] : cases) EXPECT_EQ(holds(format, arguments), expected) << format;
}

}  // namespace

TEST(Predicate, BindsNotBeforeAndBeforeOr) {
    expectAll({
        {"TRUEPREDICATE OR FALSEPREDICATE AND FALSEPREDICATE", true, {}},
        {"(TRUEPREDICATE || FALSEPREDICATE) && FALSEPREDICATE", false, {}},
        {"NOT TRUEPREDICATE OR TRUEPREDICATE", true, {}},
        {"NOT (TRUEPREDICATE OR TRUEPREDICATE)", false, {}},
        {"!FALSEPREDICATE and not falsepredicate", true, {}},
        {"NOT rating == 3 AND rating == 4", true, {}},
        {"not(rating=3)and(rating=4)", true, {}},
        {"((rating) == (((4))))", true, {}},
    });
}

TEST(Predicate, ReadsTheQueriesOfThePhotoLibrary) {
    expectAll({
        {"location == NULL && favorite = YES && (mediaType == %d || mediaType == %d)", false, {1, 2}},
        {"location == nil && favorite = true && (rating == %d || rating == %ld)", true, {1, 4}},
        {"location != NULL && (mediaType == %d || mediaType == %d) ", false, {1, 2}},
        {"favorite = YES", true, {}},
        {"title = %@", true, {"Été à Zürich"}},
        {"(file contains %@)", true, {"0042"}},
        {"(taken > %@) AND (taken < %@)", true, {NSDate{1000}, NSDate{1000.5}}},
        {"(taken > %@) AND (taken < %@)", false, {NSDate{1000.25}, NSDate{1001}}},
        {"%K IN %@", true, {"rating", Array{3, 4}}},
    });
}

TEST(Predicate, NothingEqualsOnlyNothingAndHasNoOrder) {
    expectAll({
        {"missing == NULL", true, {}},
        {"missing = %@", true, {Value()}},
        {"missing != NULL", false, {}},
        {"rating == NULL", false, {}},
        {"missing != 3", true, {}},
        {"missing == 0", false, {}},
        {"missing < 3", false, {}},
        {"missing >= missing", false, {}},
        {"missing BETWEEN {0, 9}", false, {}},
        {"rating BETWEEN {NULL, 9}", false, {}},
        {"missing CONTAINS ''", false, {}},
        {"missing IN {1, NULL}", true, {}},
        {"title LIKE NULL OR title MATCHES missing OR title BEGINSWITH missing", false, {}},
    });
}

TEST(Predicate, ComparesValuesOfOneSortOnly) {
    expectAll({
        {"rating == 4.0 AND favorite == 1 AND 0.5 == exposure", true, {}},
        {"favorite < rating AND exposure < favorite", true, {}},
        {"big > 9007199254740992.0 AND 9007199254740992.0 < big", true, {}},
        {"big == 9007199254740992.0", false, {}},
        {"big < 1e300 AND big > -1e300 AND big < 99999999999999999999", true, {}},
        {"nan == nan OR nan < 1 OR nan >= 1", false, {}},
        {"rating => 4 AND rating =< 4 AND rating <> 5", true, {}},
        {"rating > -.5 AND rating < 4.5e0 AND rating > -3", true, {}},
        {"rating == '4' OR rating < '5' OR taken > 0", false, {}},
        {"rating BETWEEN {4, 5} AND NOT rating BETWEEN {5, 9} AND file BETWEEN {'IMG', 'IMH'}", true, {}},
        {"rating BETWEEN %@", true, {Array{1, 4}}},
        {"rating BETWEEN keywords", false, {}},
        {"'Z' < 'a' AND 'z' < 'é' AND '\uFFFD' < '\U0001F600'", true, {}},
        {"'Z' <[c] 'a'", false, {}},
    });
}

TEST(Predicate, ComparesTextsWithOrWithoutCaseAndDiacritics) {
    expectAll({
        {"title == 'été à zürich'", false, {}},
        {"title ==[c] 'ÉTÉ À ZÜRICH'", true, {}},
        {"title ==[c] 'ete a zurich'", false, {}},
        {"title ==[d] 'Ete a Zurich'", true, {}},
        {"title ==[cd] 'ete a zurich'", true, {}},
        {"title CONTAINS [cd] 'ZURI'", true, {}},
        {"title BEGINSWITH 'Été' AND title ENDSWITH[d] 'Zurich'", true, {}},
        {"title BEGINSWITH 'Zürich'", false, {}},
        {"'STRASSE' ==[c] 'straße' AND 'e\u0301' ==[d] 'é'", true, {}},
        {"'각' CONTAINS[d] '가'", false, {}},
        {"'Zur' IN[cd] title AND 'zurich' IN[cd] keywords AND file IN[c] {'img_0042.heic'}", true, {}},
        {"keywords CONTAINS 'Sea' AND keywords CONTAINS 7.0 AND keywords CONTAINS[c] 'sea'", true, {}},
        {"keywords CONTAINS 'Se' OR 'Sea' IN {} OR rating IN 4", false, {}},
    });
}

TEST(Predicate, MatchesWildcardsAndRegularExpressions) {
    expectAll({
        {"file LIKE 'IMG_????.*' AND file LIKE '*' AND file LIKE '*0*2*'", true, {}},
        {"file LIKE 'IMG' OR file LIKE '*.HEI' OR file LIKE '?'", false, {}},
        {"file LIKE[c] 'img*heic'", true, {}},
        {"'é' LIKE '?' AND '😀b' LIKE '?b' AND 'aé' LIKE '*?'", true, {}},
        {R"(percent LIKE '50%% [a] \\*' AND NOT file LIKE '*\\*')", true, {}},
        {"'' LIKE '' AND '' LIKE '**'", true, {}},
        {R"(file MATCHES 'IMG_\\d{4}\\.HEIC' AND file MATCHES pattern)", true, {}},
        {"file MATCHES 'IMG' OR file MATCHES broken OR file MATCHES 3 OR rating MATCHES '4'", false, {}},
        {"title MATCHES[cd] 'ete.*ZÜRICH'", true, {}},
        {"%@ MATCHES '(a+)+b'", false, {repeated(40, "a")}},
    });
    EXPECT_TRUE(holds("%@ LIKE %@", {repeated(3000, "a") + "b", repeated(200, "*a") + "b"}));
}

TEST(Predicate, AppliesModifiersToEveryValueOnTheLeft) {
    expectAll({
        {"ANY keywords == 'Sea' AND SOME keywords BEGINSWITH 'Z'", true, {}},
        {"ALL keywords == 'Sea'", false, {}},
        {"ALL {4, 5} > rating OR ALL {1, 2} > rating", false, {}},
        {"ALL keywords IN {'Sea', 'Zürich', 7}", true, {}},
        {"NONE keywords == 'Hill' AND NOT NONE keywords == 'Sea'", true, {}},
        {"ANY empty == NULL OR ANY missing == NULL", false, {}},
        {"ALL empty == 1 AND NONE missing == 1", true, {}},
        {"any rating == 4", true, {}},
    });
}

TEST(Predicate, ReadsNamesAndTextsAsTheyAreQuoted) {
    expectAll({
        {"album.owner.name == 'Ann' AND SELF.album.owner.name = \"Ann\"", true, {}},
        {"#in == 'reserved' AND #'in' == 'reserved' AND self == 'the photo'", true, {}},
        {"%K == 'reserved' AND %K == 'the photo'", true, {"in", "SELF"}},
        {R"('%@ %d' == %@ AND 'it\'s "x"\n' == "it's \"x\"
" AND percent CONTAINS %%)",
         true,
         {"%@ %d"}},
        {"'50%%' == '50%' AND taken == DATE(1000.25)", true, {}},
        {"(%f == 4.0 AND %i == 4 AND (%lu == 4 OR %lld == 0)) AND %@ = rating", true, {4, 4.9, 4U, 4, 4.0}},
    });
}

TEST(Predicate, SaysWhereATextIsWrong) {
    using testing::HasSubstr;
    struct Fault {
        const char* format;
        const char* message;
        std::vector<Value> arguments;
    };
    const Fault faults[] = {
        {"", "ends too early at position 1", {}},
        {"rating", "comparison is expected at position 1", {}},
        {"rating == ", "ends too early at position 11", {}},
        {"rating == 4 AND 5", "comparison is expected at position 17", {}},
        {"NOT 5 == 5 == 5", "\"==\" is unexpected at position 12", {}},
        {"rating ~ 4", "\"~\" is not understood at position 8", {}},
        {"rating == 4 foo", "\"foo\" is unexpected at position 13", {}},
        {"(rating == 4", "ends too early at position 13", {}},
        {"rating == 4)", "\")\" is unexpected at position 12", {}},
        {"rating == (a == 4)", "value is expected at position 11", {}},
        {"ANY (a == 4)", "value is expected at position 5", {}},
        {"title == 'open", "not closed at position 10", {}},
        {"title == 'open\\", "not closed at position 10", {}},
        {"all.x == 1 OR in == 4", "\"in\" as a name must be written behind # at position 15", {}},
        {"a == # b", "name is expected behind # at position 6", {}},
        {"rating IN {1, 2", "ends too early at position 16", {}},
        {"rating IN {1,}", "\"}\" is unexpected at position 14", {}},
        {"rating BETWEEN {1, 2, 3}", "two bounds at position 16", {}},
        {"rating BETWEEN 3", "two bounds at position 16", {}},
        {"title ==[cx] 'a'", "\"cx\" is unexpected at position 10", {}},
        {"title MATCHES '('", "regular expression is not valid at position 15", {}},
        {"title MATCHES %@", "regular expression is not valid at position 15", {"["}},
        {"count(keywords) == 4", "\"count\" is not a function at position 1", {}},
        {"rating == 4x", "\"4x\" is not understood at position 11", {}},
        {"rating == 1.2.3", "is not understood at position 11", {}},
        {"rating == 1e999", "out of range at position 11", {}},
        {"rating == %q", "\"%q\" is not understood at position 11", {4}},
        {"rating == %day", "is not understood at position 11", {4}},
        {"rating == %d OR rating == %d", "argument 2 is missing at position 27", {4}},
        {"rating == 4", "uses 0 of 1 arguments and ends at position 12", {4}},
        {"rating == %d", "argument 1 must be a number at position 11", {"4"}},
        {"%K == 4", "argument 1 must be a name at position 1", {4}},
        {"%K == 4", "name is expected at position 1", {""}},
        {"rating == %@", "argument 1 must be finite at position 11", {std::nan("")}},
        {"rating IN %@", "argument 1 must be a number, a text", {Array{1, Dictionary{}}}},
    };
    for (const auto& [format, message, arguments] : faults)
        EXPECT_THAT(messageOf(format, arguments), HasSubstr(message)) << format;
}

TEST(Predicate, LimitsNestingButNotLength) {
    const auto nested = [](std::size_t count, std::string_view open, std::string_view inner, std::string_view close) {
        return repeated(count, open) + std::string(inner) + repeated(count, close);
    };
    EXPECT_EQ(messageOf(nested(200, "(", "a == 1", ")")), "");
    EXPECT_THAT(messageOf(nested(201, "(", "a == 1", ")")), testing::HasSubstr("too deep at position 201"));
    for (const auto& format : {nested(100000, "(", "", ""), nested(100000, "!", "a == 1", ""),
                               "a IN " + nested(100000, "{", "", "}"), "a == " + nested(100000, "(", "1", ")")})
        EXPECT_THAT(messageOf(format), testing::HasSubstr("too deep"));
    Value deep = 1;
    for (int i = 0; i < 300; ++i) deep = Array{deep};
    EXPECT_THAT(messageOf("a IN %@", {deep}), testing::HasSubstr("too deep at position 6"));

    const std::string deepest = nested(200, "a == 1 OR b == 2 AND (", "TRUEPREDICATE", ")");
    const auto predicate = NSPredicate::predicateWithFormat(deepest);
    ASSERT_TRUE(predicate);
    EXPECT_EQ(NSPredicate::predicateWithFormat(predicate->predicateFormat()), predicate);
    EXPECT_FALSE(holds(repeated(20000, "rating == 1 OR ") + "rating == 2"));
}

TEST(Predicate, TextParsesBackToTheSameTree) {
    struct Case {
        const char* format;
        const char* text;
        std::vector<Value> arguments;
    };
    const Case cases[] = {
        {"a=1 && (b <> 2 || !(c=<3 and d=>4)) ", "a == 1 AND (b != 2 OR NOT (c <= 3 AND d >= 4))", {}},
        {"a=1 OR (b=2 AND (c=3 AND d=4)) OR e=5", "a == 1 OR b == 2 AND (c == 3 AND d == 4) OR e == 5", {}},
        {"not not falsepredicate", "NOT NOT FALSEPREDICATE", {}},
        {"some a.b like[dc] 'x' or none self in {1, a, {}}", "ANY a.b LIKE[cd] \"x\" OR NONE SELF IN {1, a, {}}", {}},
        {"%@ BETWEEN %@",
         "DATE(12.5) BETWEEN {DATE(-3.0), DATE(1e+300)}",
         {NSDate{12.5}, Array{NSDate{-3}, NSDate{1e300}}}},
        {"a IN %@",
         "a IN {1, 2.0, -0.25, YES, NULL, {\"x\"}, -9223372036854775808}",
         {Array{1, 2.0, -0.25, true, Value(), Array{"x"}, std::numeric_limits<std::int64_t>::min()}}},
        {"a = %@", R"(a == "%%@ \\ \" 'é'")", {"%@ \\ \" 'é'"}},
        {"%K = #Self.x OR %K = %K", R"(#NULL == #Self.x OR #"a b%%" == #"9..")", {"NULL", "a b%", "9.."}},
        {"a MATCHES[c] %@", "a MATCHES[c] \"x+\"", {"x+"}},
    };
    for (const auto& [format, text, arguments] : cases) {
        std::string error;
        const auto predicate = NSPredicate::predicateWithFormat(format, arguments, &error);
        ASSERT_TRUE(predicate) << format << ": " << error;
        EXPECT_EQ(predicate->predicateFormat(), text);
        const auto again = NSPredicate::predicateWithFormat(predicate->predicateFormat(), {}, &error);
        ASSERT_TRUE(again) << predicate->predicateFormat() << ": " << error;
        EXPECT_TRUE(*again == *predicate) << text;
        EXPECT_EQ(again->predicateFormat(), text);
    }
}

TEST(Predicate, SurvivesTextsCutAnywhereAndAMissingObject) {
    const std::string whole =
        R"(ANY a.b ==[cd] 'x\'y' AND NOT (#in BETWEEN {-1.5e3, %@} OR c MATCHES "z+") || DATE(3) < %K)";
    const std::vector<Value> arguments = {2, "when"};
    EXPECT_EQ(messageOf(whole, arguments), "");
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        for (const char stray : {'\0', '%', '(', '}', '\xFF', '\\', ' '}) {
            const auto predicate = NSPredicate::predicateWithFormat(whole.substr(0, length) + stray, arguments);
            EXPECT_FALSE(predicate && predicate->evaluateWithObject({})) << length;
        }
    }
}

}  // namespace tessaly
