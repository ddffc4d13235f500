#pragma once

#include "Ardo/KilnExport.h"
#include "Ardo/MetadataLib/Detector.h"

#include <memory>
#include <vector>

namespace Ardo::MetadataLib
{

/// Owns one detector of any class and is used like a pointer that is never null.
///
/// A copy owns a copy of the detector. Two objects are equal if their detectors have the same class and equal fields.
///
///     metadata.Detectors.push_back(ImagingDetector());
///     auto* camera = dynamic_cast<ImagingDetector*>(metadata.Detectors.back().get());
class KILN_EXPORT DetectorPtr
{
public:
    /// Owns an empty Detector.
    DetectorPtr();

    /// Owns a copy of the whole object, also if \p detector refers to its base: Clone(), which each class has to
    /// override, makes the copy.
    DetectorPtr(const Detector& detector);

    DetectorPtr(const DetectorPtr& other);

    /// Takes the detector of \p other, which then owns an empty Detector.
    DetectorPtr(DetectorPtr&& other); // NOLINT(performance-noexcept-move-constructor): it makes a detector for other

    /// Copies the detector of \p other, or takes it if \p other is a temporary.
    DetectorPtr& operator=(DetectorPtr other) noexcept;
    ~DetectorPtr();

    /// The detector, owned by this object.
    Detector& operator*() noexcept { return *m_detector; }
    /// \copydoc operator*()
    const Detector& operator*() const noexcept { return *m_detector; }
    /// \copydoc operator*()
    Detector* operator->() noexcept { return m_detector.get(); }
    /// \copydoc operator*()
    const Detector* operator->() const noexcept { return m_detector.get(); }

    /// The detector, owned by this object, for example for a dynamic_cast. Never null.
    Detector* get() noexcept { return m_detector.get(); }
    /// \copydoc get()
    const Detector* get() const noexcept { return m_detector.get(); }

    /// True if both detectors have the same class and equal fields.
    bool operator==(const DetectorPtr& other) const;

private:
    std::unique_ptr<Detector> m_detector;
};

/// Detectors in the order of the document.
using DetectorList = std::vector<DetectorPtr>;

} // namespace Ardo::MetadataLib
