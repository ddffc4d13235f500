#include "apps/viewer/Presenter/DocumentPresenter.h"

#include "apps/viewer/Model/FolderImages.h"
#include "Ardo/Kiln/Exception/ErrorDialog.h"
#include "Ardo/Kiln/Profiling/Stage.h"

#include <QFileInfo>

namespace Ardo::Kiln::Viewer
{

using Threading::DeliverOn;
using Threading::Delivery;

DocumentPresenter::DocumentPresenter() : m_worker("Viewer files", Exception::ErrorDialog::ShowWarningDialog)
{
    m_reading = m_requested.Connect(
        DeliverOn::Worker(m_worker), [this](const Request& request) { Read(request); }, Delivery::Latest());
}

DocumentPresenter::~DocumentPresenter()
{
    Cancel();
}

void DocumentPresenter::Open(const QString& path)
{
    Send(path, 0);
}

void DocumentPresenter::Step(const QString& path, int step)
{
    Send(path, step);
}

void DocumentPresenter::Cancel()
{
    ++m_latest;
}

void DocumentPresenter::Send(const QString& path, int step)
{
    m_requested.Emit({path, step, ++m_latest});
}

void DocumentPresenter::Read(const Request& request)
{
    const Profiling::Stage stage("open file");
    const QString path = request.step == 0 ? request.path : NeighbourInFolder(request.path, request.step);
    if (path.isEmpty())
    {
        return;
    }
    const QString name = QFileInfo(path).fileName();
    work.Send({name, true, std::nullopt});
    try
    {
        const auto progress = [&](double part)
        {
            work.Send({name, true, part});
            return m_latest == request.number;
        };
        documents.Send(std::make_shared<const Document>(ReadDocument(path, progress)));
    }
    catch (const Cancelled&)
    {
    }
    catch (const std::exception& failure)
    {
        failures.Send(failure.what());
    }
    work.Send({});
}

} // namespace Ardo::Kiln::Viewer
