#include "Ardo/MetadataLib/Metadata.h"

#include "tests/Support/FullMetadata.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <utility>

namespace Ardo::MetadataLib
{

TEST(MetadataTest, ACopyIsDeepAndEqualUntilAFieldOfAnyClassChanges)
{
    const std::function<void(Metadata&)> changes[] = {
        [](Metadata& m) { m.Core.Guid.bytes[15] ^= 1; },
        [](Metadata& m) { m.Optics.Apertures.back().PositionOffset->y = 1.0; },
        [](Metadata& m) { m.StageSettings.StagePosition.Tilt.Beta.reset(); },
        [](Metadata& m) { m.BinaryResult.PixelSize->Y.Unit = "nm"; },
        [](Metadata& m) { m.Detectors[0]->DetectorName += "x"; },
        [](Metadata& m) { dynamic_cast<AnalyticalDetector&>(*m.Detectors[1]).BeginEnergy = 1; },
        [](Metadata& m) { dynamic_cast<ImagingDetector&>(*m.Detectors[2]).Shutters.clear(); },
        [](Metadata& m) { dynamic_cast<ScanningDetector&>(*m.Detectors[3]).CollectionAngleRange->end = 0.0; },
        [](Metadata& m) { m.CustomProperties["long"] = std::int32_t{-5}; }, // same number, other kind
    };
    const Metadata original = Kiln::Support::FullMetadata();
    for (const auto& change : changes)
    {
        Metadata copy = original;
        EXPECT_EQ(copy, original);
        change(copy);
        EXPECT_NE(copy, original) << "change " << &change - changes;
    }
    EXPECT_EQ(original, Kiln::Support::FullMetadata());
}

TEST(MetadataTest, DetectorsOfDifferentClassesDifferEvenWithEqualFields)
{
    ScanningDetector scanning;
    Detector base;
    base.DetectorType = scanning.DetectorType;
    EXPECT_TRUE(static_cast<const Detector&>(scanning) == base);
    EXPECT_FALSE(DetectorPtr(scanning) == DetectorPtr(base));
    EXPECT_FALSE(DetectorPtr(base) == DetectorPtr(scanning));
}

TEST(MetadataTest, AReferenceToTheBaseGivesTheWholeDetector)
{
    const Metadata full = Kiln::Support::FullMetadata();
    DetectorList list;
    for (const DetectorPtr& detector : full.Detectors)
    {
        list.push_back(*detector);
    }
    EXPECT_EQ(list, full.Detectors);

    DetectorList source = full.Detectors;
    list.clear();
    for (DetectorPtr& detector : source)
    {
        list.push_back(std::move(*detector));
    }
    EXPECT_EQ(list, full.Detectors);
}

TEST(MetadataTest, APrefixPowerMovesThePointExactly)
{
    EXPECT_EQ(InBaseUnit({107, "m", -9}), 107e-9);
    EXPECT_EQ(InBaseUnit({2.5, "V", 3}), 2500);
    EXPECT_EQ(InBaseUnit({2.5e-10, "m", {}}), 2.5e-10);
    EXPECT_EQ(InBaseUnit({0, "m", std::numeric_limits<std::int32_t>::max()}), 0);
    EXPECT_EQ(InBaseUnit({1, "m", std::numeric_limits<std::int32_t>::min()}), 0);
}

TEST(MetadataTest, AHolderNeverLosesItsDetector)
{
    DetectorPtr first{ImagingDetector()};
    const DetectorPtr second(std::move(first));
    EXPECT_NE(dynamic_cast<const ImagingDetector*>(second.get()), nullptr);
    ASSERT_NE(first.get(), nullptr); // NOLINT(bugprone-use-after-move): that it may be used is the point
    first = second;
    EXPECT_EQ(first, second);
    EXPECT_NE(first.get(), second.get());
}

} // namespace Ardo::MetadataLib
