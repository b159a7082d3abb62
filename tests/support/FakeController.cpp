#include "support/FakeController.h"

#include "Platform/FileUrl.h"
#include "Virtualization/Backend/KelvoError.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

FakeController::~FakeController()
{
    m_gate->isControllerGone = true;
    m_gate->open();
}

void FakeController::release()
{
    holdsOperations = false;
    m_gate->open();
}

void FakeController::change(VMState state, const QString &reason)
{
    currentState = state;
    tellOfUnaskedChange(reason);
}

void FakeController::Gate::open()
{
    if (const auto coroutine = std::exchange(waiting, {}))
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [coroutine] { coroutine.resume(); }, Qt::QueuedConnection);
}

std::optional<QString> FakeController::vncHost() const
{
    return display == VMDisplayKind::vnc ? std::optional(u"127.0.0.1"_s) : std::nullopt;
}

void FakeController::note(const QString &call)
{
    calls.append(call);
    if (failingCall.isEmpty() || !call.startsWith(failingCall))
        return;
    if (call == "start"_L1 || call == "stop"_L1)
        currentState = VMState::error;
    throw KelvoError::internalError(failingCall + u" failed."_s);
}

void FakeController::configure(const VMConfiguration &configuration, VMBuildMode mode,
                               const std::optional<QUrl> &attachISO)
{
    const QString modeName = mode == VMBuildMode::installation ? u"installation"_s : u"normalBoot"_s;
    note(u"configure %1 %2"_s.arg(modeName, attachISO ? FileUrl::lastComponent(*attachISO) : u"-"_s));
    port = configuration.vncPort;
}

QCoro::Task<> FakeController::operate(QString call, VMState target)
{
    const std::shared_ptr<Gate> gate = m_gate;
    if (holdsOperations) {
        Wait wait{gate};
        co_await wait;
    }
    if (gate->isControllerGone)
        throw KelvoError::internalError(u"The controller is gone."_s);
    note(call);
    currentState = target;
}

QCoro::Task<> FakeController::start()
{
    return operate(u"start"_s, VMState::running);
}
QCoro::Task<> FakeController::stop()
{
    return operate(u"stop"_s, VMState::poweredOff);
}
QCoro::Task<> FakeController::requestShutDown()
{
    return operate(u"request shut down"_s, currentState);
}
QCoro::Task<> FakeController::pause()
{
    return operate(u"pause"_s, VMState::paused);
}
QCoro::Task<> FakeController::resume()
{
    return operate(u"resume"_s, VMState::running);
}

QCoro::Task<GuestTakeUp> FakeController::takeUp(VMConfiguration configuration)
{
    note(u"take up "_s + configuration.name);
    if (guest.outcome == GuestTakeUp::Outcome::takenUp)
        currentState = VMState::running;
    co_return guest;
}
