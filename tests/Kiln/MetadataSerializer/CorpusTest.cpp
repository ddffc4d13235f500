#include "tests/Fuzz/MetadataFuzzer.h"
#include "tests/Support/LogCollector.h"
#include "tests/Support/Process.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace Ardo::Kiln::MetadataSerializer
{

TEST(CorpusTest, WhatFuzzingBeginsWithPassesItsChecks)
{
    Support::LogCollector log;
    log.AllowErrors("Metadata: ");
    for (const auto& [folder, type] : {std::pair("Xml", SerializeType::Xml), std::pair("Json", SerializeType::Json)})
    {
        std::size_t readable = 0;
        std::size_t files = 0;
        for (const auto& file : std::filesystem::directory_iterator(std::filesystem::path(KILN_FUZZ_CORPUS) / folder))
        {
            SCOPED_TRACE(file.path());
            const std::string text = Support::ReadFile(file.path());
            FuzzMetadata(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), type);
            readable += ReadFuzzed(text, type) ? 1U : 0U;
            ++files;
        }
        EXPECT_GT(readable, 4U); // or a change of the format has made the corpus useless
        EXPECT_GT(files, readable);
    }
}

} // namespace Ardo::Kiln::MetadataSerializer
