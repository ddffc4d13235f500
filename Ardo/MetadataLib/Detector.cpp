#include "Ardo/MetadataLib/Detector.h"

#include <typeinfo>

namespace Ardo::MetadataLib
{

Detector::~Detector() = default;

std::unique_ptr<Detector> Detector::Clone() const
{
    return std::make_unique<Detector>(*this);
}

bool Detector::IsEqual(const Detector& other) const
{
    return typeid(other) == typeid(Detector) && *this == other;
}

} // namespace Ardo::MetadataLib
