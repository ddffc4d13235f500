#pragma once

#include "Ardo/KilnExport.h"
#include "Ardo/MetadataLib/Detector.h"

#include <concepts>
#include <memory>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Ardo::MetadataLib
{

/// Holds one detector of any class, by value: a copy of the holder has a detector of its own, and holders are equal
/// when their detectors are of one class with equal fields. Used like a pointer that is never null.
///
///     metadata.Detectors.push_back(ImagingDetector());
///     auto* camera = dynamic_cast<ImagingDetector*>(metadata.Detectors.back().get());
class KILN_EXPORT DetectorPtr
{
public:
    /// Holds an empty Detector.
    DetectorPtr();

    /// Holds a copy of the whole object, whatever class it is declared to be: the copy is made by its Clone().
    DetectorPtr(const Detector& detector);

    /// Holds what \p detector is moved into. An object of a more special class than it is declared to be is copied, as
    /// above: moving it would cut off the rest.
    template <std::derived_from<Detector> T>
    requires(!std::is_const_v<T>) DetectorPtr(T&& detector)
        : m_detector(typeid(detector) == typeid(T) ? std::make_unique<T>(std::move(detector)) : detector.Clone())
    {
    }

    DetectorPtr(const DetectorPtr& other);

    /// Exchanges the detectors, so that \p other holds one, too.
    DetectorPtr(DetectorPtr&& other); // NOLINT(performance-noexcept-move-constructor): it makes a detector for other

    /// Copies the other's detector, or takes it over from a temporary holder.
    DetectorPtr& operator=(DetectorPtr other) noexcept;
    ~DetectorPtr();

    /// The detector, owned by this holder.
    Detector& operator*() noexcept { return *m_detector; }
    /// \copydoc operator*()
    const Detector& operator*() const noexcept { return *m_detector; }
    /// \copydoc operator*()
    Detector* operator->() noexcept { return m_detector.get(); }
    /// \copydoc operator*()
    const Detector* operator->() const noexcept { return m_detector.get(); }

    /// The detector, owned by this holder, for example for a dynamic_cast. Never null.
    Detector* get() noexcept { return m_detector.get(); }
    /// \copydoc get()
    const Detector* get() const noexcept { return m_detector.get(); }

    /// True if both detectors are of one class with equal fields.
    bool operator==(const DetectorPtr& other) const;

private:
    std::unique_ptr<Detector> m_detector;
};

/// Detectors in the order of the document.
using DetectorList = std::vector<DetectorPtr>;

} // namespace Ardo::MetadataLib
