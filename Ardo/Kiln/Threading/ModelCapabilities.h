#pragma once

#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace Ardo::Kiln::Threading
{

/// What a model can do at this moment: a set of abilities, as a plain value that is copied, compared and sent.
///
///     enum class Ability { Acquire, Stop, MoveStage };
///     using Capabilities = ModelCapabilities<Ability>;
///     sender.Send(isRunning ? Capabilities{Ability::Stop} : Capabilities{Ability::Acquire, Ability::MoveStage});
///
/// Every method takes enumerators with values from 0 to 63 and throws std::out_of_range otherwise.
///
/// \tparam Ability an enumeration.
template <typename Ability>
class ModelCapabilities
{
    static_assert(std::is_enum_v<Ability>, "Abilities are the enumerators of an enumeration");

public:
    /// No abilities.
    constexpr ModelCapabilities() = default;

    /// These abilities.
    constexpr ModelCapabilities(std::initializer_list<Ability> abilities)
    {
        for (const Ability ability : abilities)
        {
            Set(ability, true);
        }
    }

    /// Whether the model has the ability.
    constexpr bool Can(Ability ability) const { return (m_bits & BitOf(ability)) != 0; }

    /// Whether the model has every one of these abilities.
    constexpr bool CanAll(const ModelCapabilities& abilities) const
    {
        return (m_bits & abilities.m_bits) == abilities.m_bits;
    }

    /// Adds or removes an ability.
    constexpr ModelCapabilities& Set(Ability ability, bool can)
    {
        m_bits = can ? m_bits | BitOf(ability) : m_bits & ~BitOf(ability);
        return *this;
    }

    constexpr bool operator==(const ModelCapabilities&) const = default;

private:
    static constexpr std::uint64_t BitOf(Ability ability)
    {
        const auto value = static_cast<std::int64_t>(ability);
        if (value < 0 || value > 63)
        {
            throw std::out_of_range("An ability has a value from 0 to 63, not " + std::to_string(value));
        }
        return std::uint64_t{1} << static_cast<unsigned>(value);
    }

    std::uint64_t m_bits = 0;
};

} // namespace Ardo::Kiln::Threading
