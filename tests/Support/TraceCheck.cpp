#include "tests/Support/TraceCheck.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <vector>

namespace Ardo::Kiln::Support
{

namespace
{

using testing::IsSubsetOf;

constexpr auto Number = QJsonValue::Double;
constexpr auto Text = QJsonValue::String;
constexpr auto Object = QJsonValue::Object;

std::string Printed(const QJsonObject& object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString();
}

void CheckEvent(const QJsonObject& event)
{
    static const std::map<QString, QJsonValue::Type> all{{"ph", Text},    {"name", Text},  {"cat", Text},
                                                         {"pid", Number}, {"tid", Number}, {"ts", Number}};
    static const std::map<QString, std::pair<QString, QJsonValue::Type>> own{
        {"X", {"dur", Number}}, {"C", {"args", Object}}, {"i", {"s", Text}}, {"M", {"args", Object}}};
    const QString phase = event["ph"].toString();
    ASSERT_TRUE(own.contains(phase));
    const auto& [ownKey, ownType] = own.at(phase);
    for (const auto& [key, type] : all)
    {
        EXPECT_EQ(event[key].type(), type) << key.toStdString();
    }
    EXPECT_EQ(event[ownKey].type(), ownType) << ownKey.toStdString();
    const bool hasArguments = phase == "X" && event["args"].isObject(); // the only key that may be missing
    EXPECT_EQ(event.size(), all.size() + (hasArguments ? 2 : 1));
    EXPECT_GE(event["ts"].toDouble(), 0.0);
    EXPECT_GE(event["dur"].toDouble(), 0.0);
    const QJsonObject arguments = event["args"].toObject();
    if (phase == "i")
    {
        EXPECT_THAT((std::vector{event["s"].toString()}), IsSubsetOf({"g", "p", "t"}));
    }
    if (phase == "M")
    {
        EXPECT_THAT((std::vector{event["name"].toString()}), IsSubsetOf({"process_name", "thread_name"}));
        EXPECT_TRUE(arguments["name"].isString());
    }
    if (phase == "C")
    {
        EXPECT_FALSE(arguments.isEmpty());
        for (const QJsonValue& value : arguments)
        {
            EXPECT_TRUE(value.isDouble());
        }
    }
}

/// The open stages of a thread form a stack. The events are in the order of their begin; times are whole nanoseconds.
void CheckNesting(const std::vector<QJsonObject>& events)
{
    std::vector<long long> ends;
    for (const QJsonObject& event : events)
    {
        if (event["ph"] == "X")
        {
            const long long begin = std::llround(event["ts"].toDouble() * 1000);
            const long long end = std::llround((event["ts"].toDouble() + event["dur"].toDouble()) * 1000);
            while (!ends.empty() && ends.back() <= begin)
            {
                ends.pop_back();
            }
            EXPECT_TRUE(ends.empty() || end <= ends.back()) << Printed(event);
            ends.push_back(end);
        }
    }
}

} // namespace

std::string CheckedTraceEvents(const std::string& json)
{
    QJsonParseError error{};
    const QJsonObject trace = QJsonDocument::fromJson(QByteArray::fromStdString(json), &error).object();
    EXPECT_EQ(error.error, QJsonParseError::NoError) << error.errorString().toStdString();
    EXPECT_EQ(trace.keys(), (QStringList{"displayTimeUnit", "otherData", "traceEvents"}));
    EXPECT_TRUE(trace["displayTimeUnit"] == "ms" || trace["displayTimeUnit"] == "ns");

    const QJsonArray events = trace["traceEvents"].toArray();
    std::map<double, std::vector<QJsonObject>> threads;
    for (int index = 0; index < events.size(); ++index)
    {
        SCOPED_TRACE(index);
        const QJsonObject event = events[index].toObject();
        CheckEvent(event);
        EXPECT_EQ(event["pid"], events[0]["pid"]);
        threads[event["tid"].toDouble()].push_back(event);
    }
    std::string lines;
    for (auto& [id, own] : threads)
    {
        std::ranges::stable_sort(own, {},
                                 [](const QJsonObject& event)
                                 { return std::pair(event["ts"].toDouble(), -event["dur"].toDouble()); });
        CheckNesting(own);
        for (const QJsonObject& event : own)
        {
            lines += event["ph"].toString().toStdString() + ' ' + event["name"].toString().toStdString() + ' ' +
                     Printed(event["args"].toObject()) + '\n';
        }
    }
    return lines + "dropped " + std::to_string(trace["otherData"]["droppedEvents"].toVariant().toULongLong()) + '\n';
}

} // namespace Ardo::Kiln::Support
