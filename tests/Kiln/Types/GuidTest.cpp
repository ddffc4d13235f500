#include "Ardo/Kiln/Types/Guid.h"

#include <gmock/gmock.h>

#include <cstring>
#include <set>

namespace Ardo::Kiln::Types
{

using ::testing::ThrowsMessage;

namespace
{

const std::string Plain = "3f2504e04f8941d39a0c0305e82c3301";

} // namespace

TEST(GuidTest, OnlyZeroIsNil)
{
    EXPECT_TRUE(Guid().IsNil());
    EXPECT_EQ(Guid().ToString(), "00000000000000000000000000000000");
    EXPECT_FALSE(Guid("00000000000000000000000000000001").IsNil());
    EXPECT_LT(Guid("00000000000000000000000000000001"), Guid("ff000000000000000000000000000000"));
}

TEST(GuidTest, GeneratedOnesAreDistinctAndOfVersion4)
{
    std::set<Guid> guids;
    for (int count = 0; count < 1000; ++count)
    {
        const Guid guid = Guid::Generate();
        const std::string text = guid.ToString();
        ASSERT_EQ(text.size(), 32U);
        ASSERT_EQ(text[12], '4') << text;
        ASSERT_NE(std::string("89ab").find(text[16]), std::string::npos) << text;
        ASSERT_EQ(Guid(text), guid);
        ASSERT_EQ(guid.ToWString(), std::wstring(text.begin(), text.end()));
        guids.insert(guid);
    }
    EXPECT_EQ(guids.size(), 1000U);
}

TEST(GuidTest, EveryDocumentedFormIsReadAndNoOther)
{
    for (const char* form : {"3f2504e04f8941d39a0c0305e82c3301", "3F2504E04f8941D39A0C0305E82C3301",
                             "3f2504e0-4f89-41d3-9a0c-0305e82c3301", "{3F2504E0-4F89-41D3-9A0C-0305E82C3301}",
                             "{3f2504e04f8941d39a0c0305e82c3301}"})
    {
        Guid guid;
        guid.FromWString(std::wstring(form, form + std::strlen(form)));
        EXPECT_EQ(guid.ToString(), Plain) << form;
        EXPECT_EQ(Guid(form), guid) << form;
    }

    const auto refused = ThrowsMessage<std::runtime_error>("invalid uuid string");
    Guid guid(Plain);
    for (const std::string& text :
         {std::string(), Plain.substr(1), Plain + "0", Plain + '\0', " " + Plain, Plain + "\n", "{" + Plain,
          Plain + "}", "(" + Plain + ")", "{{" + Plain + "}}", "0x" + Plain.substr(2), Plain.substr(1) + "g",
          Plain.substr(1) + '\0', Plain.substr(1) + "\xB1", Plain.substr(0, 8) + "-" + Plain.substr(8),
          std::string("3f2504e04f89-41d3-9a0c-0305e82c3301"), std::string("3f2504e0-4f89-41d3-9a0c0305e82c3301"),
          std::string("3f-2504e0-4f89-41d3-9a0c-0305e82c3301")})
    {
        EXPECT_THAT([&] { guid.FromString(text); }, refused) << text;
        EXPECT_THAT([&] { Guid{text}; }, refused) << text;
        EXPECT_THAT([&] { guid.FromWString(std::wstring(text.begin(), text.end())); }, refused) << text;
    }
    for (const wchar_t digit : {L'\uFF11', L'\u0661', L'\u0130'}) // digits elsewhere, and one that ends in 0x30
    {
        EXPECT_THAT([&] { guid.FromWString(std::wstring(31, L'0') + digit); }, refused) << static_cast<int>(digit);
    }
    EXPECT_EQ(guid.ToString(), Plain);
}

TEST(GuidTest, PlatformTypesHoldTheSameBytesUnswapped)
{
    const Guid guid(Plain);
    const _GUID windows = guid.ConvertToMicrosoftGUID();
    EXPECT_EQ(windows.Data1, 0xE004253FU); // little-endian, as all that Windows runs on
    EXPECT_EQ(windows.Data3, 0xD341U);
    EXPECT_EQ(windows.Data4[7], 0x01U);
    EXPECT_EQ(Guid(windows), guid);

    const boost::uuids::uuid uuid = guid.ConvertToBoostUuid();
    EXPECT_EQ(uuid.data[0], 0x3F);
    EXPECT_EQ(uuid.data[15], 0x01);
    EXPECT_EQ(Guid(uuid), guid);

    EXPECT_EQ(guid.Bytes()[0], 0x3F);
    EXPECT_EQ(Guid(guid.Bytes()), guid);
}

} // namespace Ardo::Kiln::Types
