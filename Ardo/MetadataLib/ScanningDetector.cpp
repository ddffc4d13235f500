#include "Ardo/MetadataLib/ScanningDetector.h"

#include <typeinfo>

namespace Ardo::MetadataLib
{

ScanningDetector::ScanningDetector()
{
    DetectorType = "ScanningDetector";
}

ScanningDetector::~ScanningDetector() = default;

std::unique_ptr<Detector> ScanningDetector::Clone() const
{
    return std::make_unique<ScanningDetector>(*this);
}

bool ScanningDetector::IsEqual(const Detector& other) const
{
    return typeid(other) == typeid(ScanningDetector) && *this == static_cast<const ScanningDetector&>(other);
}

} // namespace Ardo::MetadataLib
