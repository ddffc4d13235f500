#pragma once

#include <QJsonObject>

#include <string>
#include <string_view>

namespace Ardo::Kiln::Tool
{

/// An object as text in one line, UTF-8.
std::string JsonText(const QJsonObject& object);

/// Adds a member to an object that JsonText has returned, as the last one.
/// \param value as JSON text.
void AddMember(std::string& object, std::string_view name, std::string_view value);

} // namespace Ardo::Kiln::Tool
