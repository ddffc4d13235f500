// A complete record to a document and back, beside the same record, field by field, through other libraries' trees.
//
// The peers write and read the same fields, with the same number of digits. pugixml converts numbers itself, as its
// users let it; the JSON libraries get the same quoted texts that our documents hold, through std::to_chars and
// std::from_chars. None of them checks characters or depth.

#include "Ardo/Kiln/MetadataSerializer/EnumerationNames_p.h"
#include "Ardo/Kiln/MetadataSerializer/Fields_p.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/Kiln/Time/IsoString.h"
#include "Ardo/MetadataLib/Metadata.h"
#include "tests/Support/FullMetadata.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <charconv>
#include <cstring>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>
#include <pugixml.hpp>
#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

namespace
{

using namespace Ardo::Kiln::MetadataSerializer;
using namespace Ardo::MetadataLib;

// Texts of single values, as a user of the other libraries would make them.

struct TextBuffer
{
    char data[48];
    std::size_t size = 0;
    std::string time;

    std::string_view Text(bool value) { return value ? "true" : "false"; }
    std::string_view Text(const std::string& value) { return value; }
    std::string_view Text(double value)
    {
        size = static_cast<std::size_t>(
            std::to_chars(std::begin(data), std::end(data), value, std::chars_format::general, 17).ptr - data);
        return {data, size};
    }
    std::string_view Text(std::int32_t value)
    {
        size = static_cast<std::size_t>(std::to_chars(std::begin(data), std::end(data), value).ptr - data);
        return {data, size};
    }
    std::string_view Text(const Uuid& value)
    {
        size = 0;
        for (std::size_t i = 0; i < 16; ++i)
        {
            if (i == 4 || i == 6 || i == 8 || i == 10)
            {
                data[size++] = '-';
            }
            data[size++] = "0123456789abcdef"[value.bytes[i] >> 4U];
            data[size++] = "0123456789abcdef"[value.bytes[i] & 15U];
        }
        return {data, size};
    }
    std::string_view Text(TimePoint value)
    {
        time = Ardo::Kiln::Time::ToUtcTimeISOString(value);
        return time;
    }
};

void Value(std::string_view text, bool& value)
{
    value = text == "true";
}
void Value(std::string_view text, std::string& value)
{
    value = text;
}
void Value(std::string_view text, double& value)
{
    std::from_chars(text.data(), text.data() + text.size(), value);
}
void Value(std::string_view text, std::int32_t& value)
{
    std::from_chars(text.data(), text.data() + text.size(), value);
}
void Value(std::string_view text, Uuid& value)
{
    std::size_t at = 0;
    for (std::size_t i = 0; i < 16 && at + 2 <= text.size(); ++i)
    {
        at += i == 4 || i == 6 || i == 8 || i == 10 ? 1 : 0;
        std::from_chars(text.data() + at, text.data() + at + 2, value.bytes[i], 16);
        at += 2;
    }
}
void Value(std::string_view text, TimePoint& value)
{
    value = Ardo::Kiln::Time::FromLocalTimeISOString(std::string(text));
}

template <typename T>
concept Single = requires(TextBuffer& buffer, const T& value)
{
    buffer.Text(value);
};

// The libraries: a node that children, attributes and texts are added to, and looked up in.

struct PugiNode
{
    pugi::xml_node node;

    PugiNode Add(const char* name, bool) { return {node.append_child(name)}; }
    void AddText(const char* name, std::string_view text)
    {
        node.append_child(name).append_child(pugi::node_pcdata).set_value(text.data(), text.size());
    }
    template <typename Number>
    void AddNumber(const char* name, Number value)
    {
        node.append_child(name).text().set(value);
    }
    void AddAttribute(const char* name, std::string_view text)
    {
        node.append_attribute(name).set_value(text.data(), text.size());
    }
    void SetOwnText(const char*, std::string_view text)
    {
        node.append_child(pugi::node_pcdata).set_value(text.data(), text.size());
    }

    std::optional<PugiNode> Find(const char* name) const
    {
        const pugi::xml_node child = node.child(name);
        return child ? std::optional(PugiNode{child}) : std::nullopt;
    }
    void Number(double& value) const { value = node.text().as_double(); }
    void Number(std::int32_t& value) const { value = node.text().as_int(); }
    std::string_view Text() const { return node.child_value(); }
    std::string_view Attribute(const char* name) const { return node.attribute(name).value(); }
    std::string_view OwnText(const char*) const { return Text(); }
    template <typename Function>
    void ForEach(const Function& function) const
    {
        for (const pugi::xml_node child : node.children())
        {
            function(PugiNode{child});
        }
    }
};

struct RapidNode
{
    rapidjson::Value* value;
    rapidjson::Document::AllocatorType* allocator;

    RapidNode Add(const char* name, bool)
    {
        value->AddMember(rapidjson::Value(name, *allocator), rapidjson::Value(rapidjson::kObjectType), *allocator);
        return {&(value->MemberEnd() - 1)->value, allocator};
    }
    void AddText(const char* name, std::string_view text)
    {
        value->AddMember(rapidjson::Value(rapidjson::StringRef(name)),
                         rapidjson::Value(text.data(), static_cast<rapidjson::SizeType>(text.size()), *allocator),
                         *allocator);
    }
    void AddAttribute(const char* name, std::string_view text) { AddText(name, text); }
    void SetOwnText(const char* name, std::string_view text) { AddText(name, text); }

    std::optional<RapidNode> Find(const char* name) const
    {
        if (!value->IsObject())
        {
            return std::nullopt;
        }
        const auto member = value->FindMember(name);
        return member != value->MemberEnd() ? std::optional(RapidNode{&member->value, allocator}) : std::nullopt;
    }
    std::string_view Text() const { return {value->GetString(), value->GetStringLength()}; }
    std::string_view Attribute(const char* name) const { return Find(name)->Text(); }
    std::string_view OwnText(const char* name) const { return Find(name)->Text(); }
    template <typename Function>
    void ForEach(const Function& function) const
    {
        for (auto& member : value->GetObject())
        {
            function(RapidNode{&member.value, allocator});
        }
    }
};

/// This library knows no repeated names: its lists are arrays.
struct NlohmannNode
{
    nlohmann::ordered_json* value;

    NlohmannNode Add(const char* name, bool list)
    {
        if (value->is_array())
        {
            value->push_back(nlohmann::ordered_json::object());
            return {&value->back()};
        }
        return {&((*value)[name] = list ? nlohmann::ordered_json::array() : nlohmann::ordered_json::object())};
    }
    void AddText(const char* name, std::string_view text) { value->emplace(name, std::string(text)); }
    void AddAttribute(const char* name, std::string_view text) { AddText(name, text); }
    void SetOwnText(const char* name, std::string_view text) { AddText(name, text); }

    std::optional<NlohmannNode> Find(const char* name) const
    {
        const auto member = value->find(name);
        return member != value->end() ? std::optional(NlohmannNode{&*member}) : std::nullopt;
    }
    std::string_view Text() const { return value->get_ref<const std::string&>(); }
    std::string_view Attribute(const char* name) const { return Find(name)->Text(); }
    std::string_view OwnText(const char* name) const { return Find(name)->Text(); }
    template <typename Function>
    void ForEach(const Function& function) const
    {
        for (nlohmann::ordered_json& member : *value)
        {
            function(NlohmannNode{&member});
        }
    }
};

template <FixedString Name>
const char* Text(FieldName<Name>)
{
    return FieldName<Name>::View().data();
}

template <typename Dom>
class PeerWriter
{
public:
    explicit PeerWriter(Dom node) : m_node(node) {}

    template <FixedString Name, typename T>
    void operator()(FieldName<Name> name, const T& value)
    {
        Write(m_node, Text(name), value);
    }
    template <FixedString Name, typename T>
    void Attribute(FieldName<Name> name, const T& value)
    {
        if constexpr (Single<T>)
        {
            m_node.AddAttribute(Text(name), m_buffer.Text(value));
        }
        else if (value)
        {
            Attribute(name, *value);
        }
    }
    template <FixedString Name, typename T>
    void OwnText(FieldName<Name> name, const T& value)
    {
        m_node.SetOwnText(Text(name), m_buffer.Text(value));
    }
    template <FixedString Name, typename T>
    void MayBeMissing(FieldName<Name> name, const T& value)
    {
        Write(m_node, Text(name), value);
    }
    template <typename Adapter, FixedString Name, typename T>
    void Converted(Adapter, FieldName<Name> name, const T& value)
    {
        Write(m_node, Text(name), Adapter::ToDocument(value));
    }
    template <typename Adapter, FixedString Name, typename T>
    void Converted(Adapter adapter, FieldName<Name> name, const std::optional<T>& value)
    {
        if (value)
        {
            Converted(adapter, name, *value);
        }
    }
    template <FixedString Name, FixedString ItemName, typename T>
    void List(FieldName<Name> name, FieldName<ItemName> itemName, const T& items, WhenEmpty)
    {
        Dom list = m_node.Add(Text(name), true);
        for (const auto& item : items)
        {
            Write(list, Text(itemName), item);
        }
    }
    template <FixedString Name>
    void Detectors(FieldName<Name> name, const DetectorList& detectors)
    {
        Dom list = m_node.Add(Text(name), true);
        for (const DetectorPtr& detector : detectors)
        {
            PeerWriter writer(list.Add(detector->DetectorType->c_str(), false));
            if (const auto* analytical = dynamic_cast<const AnalyticalDetector*>(detector.get()))
            {
                VisitFields(*analytical, writer);
            }
            else if (const auto* imaging = dynamic_cast<const ImagingDetector*>(detector.get()))
            {
                VisitFields(*imaging, writer);
            }
            else if (const auto* scanning = dynamic_cast<const ScanningDetector*>(detector.get()))
            {
                VisitFields(*scanning, writer);
            }
            else
            {
                VisitFields(*detector, writer);
            }
        }
    }
    template <FixedString Name>
    void CustomProperties(FieldName<Name> name, const CustomPropertyMap& properties)
    {
        Dom list = m_node.Add(Text(name), false).Add("CustomProperties", true);
        for (const auto& [key, value] : properties)
        {
            Dom property = list.Add("CustomProperty", false);
            property.AddAttribute("name", key);
            std::visit(
                [&]<typename T>(const T& held)
                {
                    if constexpr (std::is_arithmetic_v<T> && !std::is_same_v<T, bool>)
                    {
                        property.AddAttribute("value", m_buffer.Text(static_cast<double>(held)));
                    }
                    else if constexpr (Single<T>)
                    {
                        property.AddAttribute("value", m_buffer.Text(held));
                    }
                    else
                    {
                        property.AddAttribute("value", m_buffer.Text(static_cast<double>(held.value)));
                    }
                },
                value);
            property.AddAttribute("type", "double");
            property.AddAttribute("rawdatatype", "Double");
        }
    }

private:
    template <typename T>
    void Write(Dom& parent, const char* name, const T& value)
    {
        if constexpr (NamedEnumeration<T>)
        {
            parent.AddText(name, EnumerationNames<T>::Names[static_cast<std::size_t>(value) - 1]);
        }
        else if constexpr (std::is_arithmetic_v<T> && !std::is_same_v<T, bool> &&
                           requires { parent.AddNumber(name, value); })
        {
            parent.AddNumber(name, value);
        }
        else if constexpr (Single<T>)
        {
            parent.AddText(name, m_buffer.Text(value));
        }
        else
        {
            PeerWriter writer(parent.Add(name, false));
            VisitFields(value, writer);
        }
    }
    template <typename T>
    void Write(Dom& parent, const char* name, const std::optional<T>& value)
    {
        if (value)
        {
            Write(parent, name, *value);
        }
    }

    Dom m_node;
    TextBuffer m_buffer;
};

template <typename Dom>
class PeerReader
{
public:
    explicit PeerReader(Dom node) : m_node(node) {}

    template <FixedString Name, typename T>
    void operator()(FieldName<Name> name, T& value)
    {
        if (const auto node = m_node.Find(Text(name)))
        {
            Read(*node, value);
        }
    }
    template <FixedString Name, typename T>
    void Attribute(FieldName<Name> name, T& value)
    {
        if constexpr (Single<T>)
        {
            Value(m_node.Attribute(Text(name)), value);
        }
        else
        {
            Attribute(name, value.emplace());
        }
    }
    template <FixedString Name, typename T>
    void OwnText(FieldName<Name> name, T& value)
    {
        Value(m_node.OwnText(Text(name)), value);
    }
    template <FixedString Name, typename T>
    void MayBeMissing(FieldName<Name> name, T& value)
    {
        operator()(name, value);
    }
    template <typename Adapter, FixedString Name, typename T>
    void Converted(Adapter, FieldName<Name> name, T& value)
    {
        typename Adapter::Document document{};
        operator()(name, document);
        value = Adapter::FromDocument(document);
    }
    template <typename Adapter, FixedString Name, typename T>
    void Converted(Adapter adapter, FieldName<Name> name, std::optional<T>& value)
    {
        if (m_node.Find(Text(name)))
        {
            Converted(adapter, name, value.emplace());
        }
    }
    template <FixedString Name, FixedString ItemName, typename T>
    void List(FieldName<Name> name, FieldName<ItemName>, T& items, WhenEmpty)
    {
        if (const auto list = m_node.Find(Text(name)))
        {
            list->ForEach([&](Dom item) { Read(item, items.emplace_back()); });
        }
    }
    template <FixedString Name>
    void Detectors(FieldName<Name> name, DetectorList& detectors)
    {
        m_node.Find(Text(name))
            ->ForEach(
                [&](Dom item)
                {
                    const std::string_view type = item.Find("DetectorType")->Text();
                    const auto append = [&](auto detector)
                    {
                        Read(item, detector);
                        detectors.push_back(std::move(detector));
                    };
                    type == "AnalyticalDetector" ? append(AnalyticalDetector())
                    : type == "ImagingDetector"  ? append(ImagingDetector())
                    : type == "ScanningDetector" ? append(ScanningDetector())
                                                 : append(Detector());
                });
    }
    template <FixedString Name>
    void CustomProperties(FieldName<Name> name, CustomPropertyMap& properties)
    {
        m_node.Find(Text(name))
            ->Find("CustomProperties")
            ->ForEach([&](Dom item)
                      { properties[std::string(item.Attribute("name"))] = std::string(item.Attribute("value")); });
    }

private:
    template <typename T>
    static void Read(const Dom& node, T& value)
    {
        if constexpr (NamedEnumeration<T>)
        {
            const auto& names = EnumerationNames<T>::Names;
            value = static_cast<T>(std::find(names.begin(), names.end(), node.Text()) - names.begin() + 1);
        }
        else if constexpr (requires { node.Number(value); })
        {
            node.Number(value);
        }
        else if constexpr (Single<T>)
        {
            Value(node.Text(), value);
        }
        else
        {
            PeerReader reader(node);
            VisitFields(value, reader);
        }
    }
    template <typename T>
    static void Read(const Dom& node, std::optional<T>& value)
    {
        Read(node, value.emplace());
    }

    Dom m_node;
};

struct StringWriter : pugi::xml_writer
{
    std::string text;
    void write(const void* data, std::size_t size) override { text.append(static_cast<const char*>(data), size); }
};

std::string WriteWithPugi(const Metadata& metadata)
{
    pugi::xml_document document;
    PeerWriter writer(PugiNode{document.append_child("Metadata")});
    VisitFields(metadata, writer);
    StringWriter output;
    document.save(output, "    ");
    return std::move(output.text);
}

Metadata ReadWithPugi(const std::string& text)
{
    pugi::xml_document document;
    if (!document.load_buffer(text.data(), text.size()))
    {
        throw std::runtime_error("pugixml cannot read the document");
    }
    Metadata metadata;
    PeerReader reader(PugiNode{document.child("Metadata")});
    VisitFields(metadata, reader);
    return metadata;
}

std::string WriteWithRapid(const Metadata& metadata)
{
    rapidjson::Document document(rapidjson::kObjectType);
    RapidNode root{&document, &document.GetAllocator()};
    PeerWriter writer(root.Add("Metadata", false));
    VisitFields(metadata, writer);
    rapidjson::StringBuffer buffer;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> output(buffer);
    document.Accept(output);
    return {buffer.GetString(), buffer.GetSize()};
}

Metadata ReadWithRapid(const std::string& text)
{
    rapidjson::Document document;
    if (document.Parse(text.data(), text.size()).HasParseError())
    {
        throw std::runtime_error("rapidjson cannot read the document");
    }
    Metadata metadata;
    PeerReader reader(RapidNode{&document["Metadata"], &document.GetAllocator()});
    VisitFields(metadata, reader);
    return metadata;
}

std::string WriteWithNlohmann(const Metadata& metadata)
{
    nlohmann::ordered_json document = nlohmann::ordered_json::object();
    PeerWriter writer(NlohmannNode{&document}.Add("Metadata", false));
    VisitFields(metadata, writer);
    return document.dump(4);
}

Metadata ReadWithNlohmann(const std::string& text)
{
    nlohmann::ordered_json document = nlohmann::ordered_json::parse(text);
    Metadata metadata;
    PeerReader reader(NlohmannNode{&document["Metadata"]});
    VisitFields(metadata, reader);
    return metadata;
}

template <std::string (*Write)(const Metadata&)>
void RunWrite(benchmark::State& state)
{
    const Metadata metadata = Ardo::Kiln::Support::FullMetadata();
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(Write(metadata));
    }
    state.counters["bytes"] = static_cast<double>(Write(metadata).size());
}

template <SerializeType Type>
std::string WriteOurs(const Metadata& metadata)
{
    return Record(const_cast<Metadata&>(metadata)).SerializeToString(Type); // writing changes nothing
}

template <Metadata (*Read)(const std::string&), std::string (*Write)(const Metadata&)>
void RunRead(benchmark::State& state)
{
    const Metadata metadata = Ardo::Kiln::Support::FullMetadata();
    const std::string text = Write(metadata);
    const Metadata result = Read(text);
    if (result.Optics != metadata.Optics || result.Detectors != metadata.Detectors)
    {
        state.SkipWithError("the record does not come back");
        return;
    }
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(Read(text));
    }
}

template <SerializeType Type>
Metadata ReadOurs(const std::string& text)
{
    Metadata metadata;
    Record(metadata).DeserializeFromString(text, Type);
    return metadata;
}

constexpr auto Xml = SerializeType::Xml;
constexpr auto Json = SerializeType::Json;

BENCHMARK(RunWrite<WriteOurs<Xml>>)->Name("Metadata/ToXml/ours");
BENCHMARK(RunWrite<WriteWithPugi>)->Name("Metadata/ToXml/peer:pugixml");
BENCHMARK_TEMPLATE(RunRead, ReadOurs<Xml>, WriteOurs<Xml>)->Name("Metadata/FromXml/ours");
BENCHMARK_TEMPLATE(RunRead, ReadWithPugi, WriteOurs<Xml>)->Name("Metadata/FromXml/peer:pugixml");
BENCHMARK(RunWrite<WriteOurs<Json>>)->Name("Metadata/ToJson/ours");
BENCHMARK(RunWrite<WriteWithRapid>)->Name("Metadata/ToJson/peer:rapidjson");
BENCHMARK(RunWrite<WriteWithNlohmann>)->Name("Metadata/ToJson/peer:nlohmann");
BENCHMARK_TEMPLATE(RunRead, ReadOurs<Json>, WriteOurs<Json>)->Name("Metadata/FromJson/ours");
BENCHMARK_TEMPLATE(RunRead, ReadWithRapid, WriteOurs<Json>)->Name("Metadata/FromJson/peer:rapidjson");
BENCHMARK_TEMPLATE(RunRead, ReadWithNlohmann, WriteWithNlohmann)->Name("Metadata/FromJson/peer:nlohmann");

} // namespace
