#pragma once

#include "App/State/AppState.h"
#include "Platform/FileUrl.h"
#include "Virtualization/VMManager.h"
#include "support/Expectations.h"
#include "support/FakeController.h"
#include "support/TemporaryHost.h"

#include <functional>
#include <memory>

/// An AppState over a temporary host whose machines run on fake controllers.
class AppStage
{
public:
    /// `change` may replace collaborators before the manager is made.
    explicit AppStage(const std::function<void(VMManager::Collaborators &)> &change = {})
    {
        host.installTools();
        VMManager::Collaborators collaborators =
            host.collaborators([](VMBackendType) { return std::make_unique<FakeController>(); });
        if (change)
            change(collaborators);
        state = std::make_unique<AppState>(std::make_unique<VMManager>(collaborators));
    }

    VirtualMachine *add(const QString &name, const std::optional<QString> &media = std::nullopt)
    {
        auto configuration =
            VMConfiguration::defaultConfiguration(name, GuestOperatingSystem::windows11ARM64);
        configuration.storageDirectory =
            FileUrl::appendingDirectory(host.root(), name + QStringLiteral(".vm"));
        configuration.installationMediaPath = media;
        return finish(state->vmManager()->createVirtualMachine(configuration));
    }

    /// As the manager does it.
    void setState(VirtualMachine *vm, VMState newState) const
    {
        vm->setState(newState);
        Q_EMIT state->vmManager()->machineStateChanged(vm);
    }

    [[nodiscard]] FakeController *controllerOf(const VirtualMachine *vm) const
    {
        return dynamic_cast<FakeController *>(&state->vmManager()->controller(*vm));
    }

    TemporaryHost host;
    std::unique_ptr<AppState> state;
};
