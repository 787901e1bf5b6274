// Symmetry operations as text to rotation and translation: the sign, fraction and
// remembered-number rules of the triplet scan, the matrix form and the single wrap.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "fileio.h"

namespace {

struct Parsed {
    double rot[3][3];
    double trans[3];
};

Parsed parse(const std::string& op, double fill = 0.0) {
    Parsed p;
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) p.rot[r][c] = fill;
        p.trans[r] = fill;
    }
    FileIO store;
    store.ParseTransformString(op, p.rot, p.trans);
    return p;
}

struct TripletCase {
    const char* op;
    double rot[3][3];
    double trans[3];
};

// Translations are written as the scan computes them, so that they compare exactly.
const TripletCase kTripletCases[] = {
    {"x,y,z", {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 0, 0}},
    {"-x,-y,-z", {{-1, 0, 0}, {0, -1, 0}, {0, 0, -1}}, {0, 0, 0}},
    {"y-x,-x,z+2/3", {{-1, 1, 0}, {-1, 0, 0}, {0, 0, 1}}, {0, 0, 2.0 / 3}},
    {"-x+1/2,y,-z", {{-1, 0, 0}, {0, 1, 0}, {0, 0, -1}}, {0.5, 0, 0}},
    {"x+1/2,y,z", {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0.5, 0, 0}},
    {"1/2+x,y,z", {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0.5, 0, 0}},
    // The sign is applied at the denominator: -1/2, wrapped once to 1/2.
    {"x-1/2,y,z", {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0.5, 0, 0}},
    {"x,y,z-1/3", {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 0, -(1.0 / 3) + 1.0}},
    {"x+0.25,y-0.25,z-.75", {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0.25, -0.25 + 1.0, -0.75 + 1.0}},
    // A whole number keeps no sign: x-1.5 reads +1.5 (wrapped to 0.5), y-1 reads +1 (to 0).
    {"x-1.5,y-1,z+2", {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0.5, 0, 1}},
    // The negative flag stays until a "+" clears it.
    {"-x-y,-x+y,z", {{-1, -1, 0}, {-1, 1, 0}, {0, 0, 1}}, {0, 0, 0}},
    // A coefficient reads as a translation.
    {"2x,y,z", {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {1, 0, 0}},
    // Upper case, blanks and underscores.
    {"X, Y ,_Z", {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 0, 0}},
    // The numerator is remembered across parts.
    {"x+3/4,y+/4,z", {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0.75, 0.75, 0}},
    // A "/" after a decimal number divides the remembered numerator by the next one.
    {"x+0.5/4,y,z", {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 0, 0}},
    // A "." that starts no number reads as 0; a trailing "/" or sign is harmless.
    {"x+.,y+1/,z-", {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 0, 0}},
};

TEST(ParseTransformString, TripletTable) {
    for (const TripletCase& tc : kTripletCases) {
        SCOPED_TRACE(tc.op);
        const Parsed p = parse(tc.op);
        for (int r = 0; r < 3; ++r) {
            for (int c = 0; c < 3; ++c) EXPECT_EQ(p.rot[r][c], tc.rot[r][c]) << r << "," << c;
            EXPECT_EQ(p.trans[r], tc.trans[r]) << r;
        }
    }
}

TEST(ParseTransformString, LoneDotKeepsTheSignOfZero) {
    EXPECT_FALSE(std::signbit(parse("x+.,y,z").trans[0]));
    EXPECT_TRUE(std::signbit(parse("x-.,y,z").trans[0]));
}

TEST(ParseTransformString, WritesOnlyWhatTheTextNames) {
    const Parsed p = parse("-y,x", 0.25);
    EXPECT_EQ(p.rot[0][0], 0.25);
    EXPECT_EQ(p.rot[0][1], -1.0);
    EXPECT_EQ(p.rot[1][0], 1.0);
    EXPECT_EQ(p.rot[1][1], 0.25);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(p.rot[2][c], 0.25);  // missing third part
    EXPECT_EQ(p.trans[2], 0.25);
}

TEST(ParseTransformString, TextWithoutCommaOrSpaceOnlyWrapsTheCallersTranslation) {
    const Parsed p = parse("xyz", -0.25);
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) EXPECT_EQ(p.rot[r][c], -0.25);
        EXPECT_EQ(p.trans[r], 0.75);
    }
}

TEST(ParseTransformString, MatrixForm) {
    const Parsed p = parse("0 -1 0 0.5 1 0 0 0 0 0 -1 0.25");
    const double rot[3][3] = {{0, -1, 0}, {1, 0, 0}, {0, 0, -1}};
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) EXPECT_EQ(p.rot[r][c], rot[r][c]);
    EXPECT_EQ(p.trans[0], 0.5);
    EXPECT_EQ(p.trans[1], 0.0);
    EXPECT_EQ(p.trans[2], 0.25);
}

TEST(ParseTransformString, MatrixFormStopsAtTheFirstBadNumber) {
    const Parsed p = parse("1 0 0 0.5 0 abc 1 0 0 0 0 1", 0.125);
    EXPECT_EQ(p.rot[0][0], 1.0);
    EXPECT_EQ(p.rot[0][2], 0.0);
    EXPECT_EQ(p.trans[0], 0.5);
    EXPECT_EQ(p.rot[1][0], 0.0);
    EXPECT_EQ(p.rot[1][1], 0.125);
    EXPECT_EQ(p.rot[2][2], 0.125);
    EXPECT_EQ(p.trans[2], 0.125);
}

TEST(ParseTransformString, TranslationIsWrappedOnlyOnce) {
    const Parsed p = parse("1 0 0 2.5 0 1 0 -1.5 0 0 1 -1");
    EXPECT_EQ(p.trans[0], 1.5);
    EXPECT_EQ(p.trans[1], -0.5);
    EXPECT_EQ(p.trans[2], 0.0);
}

}  // namespace
