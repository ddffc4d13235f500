#include "apps/viewer/Presenter/SavePresenter.h"

#include "Ardo/Kiln/Exception/ErrorDialog.h"
#include "Ardo/Kiln/Logger/CreateLogger.h"

#include <boost/log/sources/record_ostream.hpp>
#include <QFileInfo>

namespace Ardo::Kiln::Viewer
{

SavePresenter::SavePresenter() : m_worker("Viewer export", Exception::ErrorDialog::ShowWarningDialog)
{
    m_writing = m_requested.Connect(Threading::DeliverOn::Worker(m_worker),
                                    [this](const SaveRequest& request) { Write(request); });
}

void SavePresenter::Save(const SaveRequest& request)
{
    m_isCancelled = false;
    m_requested.Emit(request);
}

void SavePresenter::Write(const SaveRequest& request)
{
    auto logger = Logger::CreateLogger("Export");
    const QString name = QFileInfo(request.path).fileName();
    const bool isData = request.type == ImageIO::ExportType::Data;
    work.Send({name, true, isData ? std::optional(0.0) : std::nullopt});
    SaveResult result{request, {}, {}, false};
    try
    {
        result.files = SaveFiles(request,
                                 [&](double part)
                                 {
                                     work.Send({name, true, isData ? std::optional(part) : std::nullopt});
                                     return !m_isCancelled;
                                 });
        BOOST_LOG_SEV(logger, Logger::info) << "written: " << result.files.path.toStdString();
    }
    catch (const Cancelled&)
    {
        result.isCancelled = true;
    }
    catch (const std::exception& failure)
    {
        result.failure = failure.what();
        BOOST_LOG_SEV(logger, Logger::warning) << "not written: " << result.failure;
    }
    results.Send(result);
    work.Send({});
}

} // namespace Ardo::Kiln::Viewer
