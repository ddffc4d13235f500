#pragma once

#include <QCoreApplication>
#include <QString>

namespace Ardo::Kiln::Viewer
{

/// The texts of the application, which Qt's translation tools find by the name of this function: Texts::tr("Open").
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Viewer)
};

} // namespace Ardo::Kiln::Viewer
