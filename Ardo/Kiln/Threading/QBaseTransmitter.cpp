#include "Ardo/Kiln/Threading/QBaseTransmitter.h"

#include "Ardo/Kiln/Threading/ThreadChecks.h"
#include "Ardo/Kiln/Threading/ToMainThreadInitialization.h"

namespace Ardo::Kiln::Threading
{

QBaseTransmitter::QBaseTransmitter(QObject* parent) : QObject(parent)
{
    AssertMainThread();
    ToMainThreadInitialization::GetDispatcher(); // its absence is an error now, and not with the first value
}

QBaseTransmitter::~QBaseTransmitter()
{
    AssertMainThread();
}

void QBaseTransmitter::Close()
{
    m_channels.clear();
}

} // namespace Ardo::Kiln::Threading
