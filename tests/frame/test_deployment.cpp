// The shipped deployments: every text the program asks for, in both languages.
#include <QFile>
#include <QRegularExpression>
#include <gtest/gtest.h>

#include "CommonModule.h"
#include "IniConfig.h"
#include "Sandbox.h"
#include "VariableDefinition.h"

using testing_support::Sandbox;

namespace {

std::vector<int> Range(int from, int to) {
    std::vector<int> numbers;
    for (int n = from; n <= to; ++n) numbers.push_back(n);
    return numbers;
}

// Every number the program looks up.
std::vector<int> NumbersInUse() {
    std::vector<int> n = {
        10000, 10001, 10002, 10003, 10010, 10011, 10012, 10020, 10100, 10101, 10102, 10103, 10104, 10105, 10106, 10107,
        10108, 10109, 10110, 10111, 10112, 10200, 10201, 10300, 10301, 10302, 10303, 11000, 11020, 11021, 11022, 11030,
        11031, 11032, 11033, 11034, 11035, 11040, 11041, 11050, 11051, 11060, 11070, 11080, 11090, 11091, 11092, 11100,
        11103, 11104, 11105, 11106, 11120, 11141, 11150, 11170, 12000, 14100, 15100, 19000, 20000, 20010, 20020, 20022,
        20030, 20031, 20032, 20033, 20034, 20035, 20036, 20040, 20060, 20070, 20080, 20090, 20092, 20104, 20105, 20106,
        20107, 20108, 20110, 20120, 20130, 20131, 20132, 20133, 20134, 20141, 20150, 20170, 20171, 24005, 25000, 29010};
    for (const auto& range : {Range(11130, 11140), Range(13000, 13006), Range(13010, 13012), Range(13020, 13029),
                              Range(14000, 14003), Range(15000, 15009), Range(24000, 24004)})
        n.insert(n.end(), range.begin(), range.end());
    return n;
}

class Deployment : public ::testing::TestWithParam<const char*> {};

TEST_P(Deployment, ReadsAndHasEveryText) {
    Sandbox box(QString::fromLatin1(GetParam()));
    tavix::ResetVariableDefinition();
    ASSERT_TRUE(tavix::GetIniFileData());
    ASSERT_TRUE(tavix::ReadStringTableData());
    for (int number : NumbersInUse()) EXPECT_FALSE(tavix::GST(number).isEmpty()) << number;
    // Texts that take a value carry the marker for it.
    for (int number : {11135, 20022, 20033, 20034, 20036, 20108, 29010})
        EXPECT_TRUE(tavix::GST(number).contains(QLatin1Char('@'))) << number;
    // File dialog filters come in pairs of description and pattern.
    for (int number : {11021, 11030, 11031, 11091}) {
        const QStringList parts = tavix::GST(number).split(QLatin1Char('|'));
        EXPECT_EQ(parts.size() % 2, 0) << number;
        for (int i = 1; i < parts.size(); i += 2) EXPECT_TRUE(parts[i].startsWith(QLatin1String("*."))) << number;
    }
    // Each guidance number in use has a record, and the calibrations have their ten lines.
    const QString guidance = QString::fromUtf8(box.Read(QStringLiteral("Guidance.txt")));
    std::vector<int> steps = {2, 10, 11, 12, 20, 21};
    for (int n = 30; n <= 59; ++n) steps.push_back(n);
    for (int n : steps)
        EXPECT_TRUE(guidance.contains(QRegularExpression(QStringLiteral("(^|\\n)\\s*%1\\s*,").arg(n)))) << n;
    const QStringList proof =
        QString::fromUtf8(box.Read(QStringLiteral("Proof.txt"))).split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
    EXPECT_EQ(proof.size(), 10);
    EXPECT_TRUE(box.LogTexts().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Languages, Deployment, ::testing::Values("ja", "en"),
                         [](const ::testing::TestParamInfo<const char*>& info) { return std::string(info.param); });

}  // namespace
