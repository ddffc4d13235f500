#include "Ardo/MetadataLib/ImagingDetector.h"

#include <typeinfo>

namespace Ardo::MetadataLib
{

ImagingDetector::ImagingDetector()
{
    DetectorType = "ImagingDetector";
}

ImagingDetector::~ImagingDetector() = default;

std::unique_ptr<Detector> ImagingDetector::Clone() const
{
    return std::make_unique<ImagingDetector>(*this);
}

bool ImagingDetector::IsEqual(const Detector& other) const
{
    return typeid(other) == typeid(ImagingDetector) && *this == static_cast<const ImagingDetector&>(other);
}

} // namespace Ardo::MetadataLib
