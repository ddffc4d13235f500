#pragma once

#include <QIcon>
#include <QPalette>

namespace Ardo::Kiln::Viewer
{

/// What an icon means.
enum class Symbol
{
    Open,
    Save,
    Previous,
    Next,
    Start,
    Stop,
    Close
};

/// An icon in a colour of the application's palette, sharp at each size. A change of the palette changes it.
/// \param role the colour, unless the icon is selected.
QIcon MakeIcon(Symbol symbol, QPalette::ColorRole role = QPalette::ButtonText);

} // namespace Ardo::Kiln::Viewer
