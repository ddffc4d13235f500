#pragma once

#include "Ardo/Kiln/Threading/ModelCapabilities.h"

#include <initializer_list>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Ardo::Kiln::Threading
{

/// How a view shows a command. In ascending order.
enum class Offer
{
    Hidden,
    Disabled,
    Enabled
};

/// What a view may offer at this moment: which commands, and why some are disabled. A plain value that is copied,
/// compared and sent. Commands that nothing was said about are hidden.
///
/// \tparam Command an enumeration, or another type with operators < and ==.
template <typename Command>
class ViewCapabilities
{
public:
    /// What is offered of one command.
    struct State
    {
        Offer offer = Offer::Hidden; ///< Whether the command is shown and can be used.
        std::string reason;          ///< Why it is not enabled, for a person, in UTF-8; empty if it is.

        bool operator==(const State&) const = default;
    };

    /// What is offered of \p command.
    State Of(const Command& command) const
    {
        const auto found = m_states.find(command);
        return found == m_states.end() ? State() : found->second;
    }

    /// Whether a person may use \p command.
    bool IsEnabled(const Command& command) const { return Of(command).offer == Offer::Enabled; }

    /// Says what is offered of \p command.
    /// \param reason ignored if the command is enabled.
    void Set(const Command& command, Offer offer, std::string reason = {})
    {
        State state{offer, offer == Offer::Enabled ? std::string() : std::move(reason)};
        if (state == State())
        {
            m_states.erase(command); // so that equal offers are equal values
            return;
        }
        m_states[command] = std::move(state);
    }

    bool operator==(const ViewCapabilities&) const = default;

private:
    std::map<Command, State> m_states;
};

/// The rules by which a presenter derives what a view may offer from what the model can do.
///
///     const ViewRules<Ability, Command> rules = {
///         {Command::Start, {Ability::Acquire}, "The detector is not connected."},
///         {Command::Service, {Ability::Maintain}, {}, Offer::Hidden}};
///     sender.Send(rules.Apply(capabilities));
///
/// A value. Several threads may call Apply() at the same time.
template <typename Ability, typename Command>
class ViewRules
{
public:
    /// What one command needs. Several rules may name one command.
    struct Rule
    {
        Command command;                   ///< The command.
        ModelCapabilities<Ability> needs;  ///< What the model must be able to do.
        std::string reason;                ///< Why the command is not offered when something is missing. UTF-8.
        Offer otherwise = Offer::Disabled; ///< What is offered then.
    };

    /// No rules, or these.
    ViewRules(std::initializer_list<Rule> rules = {}) : m_rules(rules) {}

    /// What a view may offer when the model can do this. A command is enabled if every rule that names it is met; of
    /// those that are not, the one that offers least counts, and the first of several.
    ViewCapabilities<Command> Apply(const ModelCapabilities<Ability>& model) const
    {
        std::map<Command, const Rule*> least; // null: enabled
        for (const Rule& rule : m_rules)
        {
            const Rule*& known = least.try_emplace(rule.command, nullptr).first->second;
            if (!model.CanAll(rule.needs) && (known == nullptr || rule.otherwise < known->otherwise))
            {
                known = &rule;
            }
        }
        ViewCapabilities<Command> view;
        for (const auto& [command, rule] : least)
        {
            view.Set(command, rule == nullptr ? Offer::Enabled : rule->otherwise,
                     rule == nullptr ? std::string() : rule->reason);
        }
        return view;
    }

private:
    std::vector<Rule> m_rules;
};

} // namespace Ardo::Kiln::Threading
