#include "Ardo/MetadataLib/DetectorPtr.h"

namespace Ardo::MetadataLib
{

DetectorPtr::DetectorPtr() : m_detector(std::make_unique<Detector>()) {}

DetectorPtr::DetectorPtr(const Detector& detector) : m_detector(detector.Clone()) {}

DetectorPtr::DetectorPtr(const DetectorPtr& other) : m_detector(other.m_detector->Clone()) {}

DetectorPtr::DetectorPtr(DetectorPtr&& other) : DetectorPtr()
{
    m_detector.swap(other.m_detector);
}

DetectorPtr& DetectorPtr::operator=(DetectorPtr other) noexcept
{
    m_detector.swap(other.m_detector);
    return *this;
}

DetectorPtr::~DetectorPtr() = default;

bool DetectorPtr::operator==(const DetectorPtr& other) const
{
    return m_detector->IsEqual(*other.m_detector);
}

} // namespace Ardo::MetadataLib
