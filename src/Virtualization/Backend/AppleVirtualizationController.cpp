#include "Virtualization/Backend/AppleVirtualizationController.h"

#include "Virtualization/Backend/KelvoError.h"

using namespace Qt::StringLiterals;

void AppleVirtualizationController::configure(const VMConfiguration &, VMBuildMode,
                                              const std::optional<QUrl> &)
{
    throw KelvoError::virtualizationUnavailable();
}

QCoro::Task<> AppleVirtualizationController::start()
{
    throw KelvoError::configurationInvalid(u"Virtual machine is not configured."_s);
    co_return;
}

QCoro::Task<> AppleVirtualizationController::stop()
{
    throw VMStateTransitionError::invalidTransition(state(), u"stop"_s);
    co_return;
}

QCoro::Task<> AppleVirtualizationController::pause()
{
    throw VMStateTransitionError::invalidTransition(state(), u"pause"_s);
    co_return;
}

QCoro::Task<> AppleVirtualizationController::resume()
{
    throw VMStateTransitionError::invalidTransition(state(), u"resume"_s);
    co_return;
}
