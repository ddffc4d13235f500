#pragma once

#include "Ardo/Kiln/Exception/ErrorDialogContent_p.h"

#include <QtGlobal>

#include <functional>

class QObject;

namespace Ardo::Kiln::Exception
{

/// The user's decision in the window of a warning or an error.
enum class ErrorDialogDecision
{
    Undecided, ///< The window was closed with its close button or with Escape.
    Write,
    DoNotWrite
};

} // namespace Ardo::Kiln::Exception

/// The only function of the plug-in CommonDialogs: shows \p content in a modal window.
///
/// By keyboard: Return presses the button that is marked, Alt and the underlined letter any of them, Tab goes from one
/// to the next, Escape closes the window. Only for the user-interface thread, with an application object of Qt Widgets.
/// \param finished is called once when the user closes the window, The window still exists then and is used after
///                 the call: delete it later. Destroying the window does not call it.
/// \returns the window, which belongs to the caller.
extern "C" Q_DECL_EXPORT QObject*
KilnShowErrorDialog(const Ardo::Kiln::Exception::ErrorDialogContent& content,
                    std::function<void(Ardo::Kiln::Exception::ErrorDialogDecision)> finished);
