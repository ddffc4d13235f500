#include "Ardo/MetadataLib/AnalyticalDetector.h"

#include <typeinfo>

namespace Ardo::MetadataLib
{

AnalyticalDetector::AnalyticalDetector()
{
    DetectorType = "AnalyticalDetector";
}

AnalyticalDetector::~AnalyticalDetector() = default;

std::unique_ptr<Detector> AnalyticalDetector::Clone() const
{
    return std::make_unique<AnalyticalDetector>(*this);
}

bool AnalyticalDetector::IsEqual(const Detector& other) const
{
    return typeid(other) == typeid(AnalyticalDetector) && *this == static_cast<const AnalyticalDetector&>(other);
}

} // namespace Ardo::MetadataLib
