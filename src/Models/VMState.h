#pragma once

#include "Models/StoredEnumeration.h"
#include "Platform/LocalizedError.h"

/// Where a guest's run is, as its backend sees it.
enum class VMState
{
    poweredOff,
    starting,
    running,
    paused,
    stopping,
    suspended,
    error
};

template<>
inline constexpr auto rawTexts<VMState> = std::to_array<CaseText<VMState>>({
    {VMState::poweredOff, "poweredOff"},
    {VMState::starting, "starting"},
    {VMState::running, "running"},
    {VMState::paused, "paused"},
    {VMState::stopping, "stopping"},
    {VMState::suspended, "suspended"},
    {VMState::error, "error"},
});

template<>
inline constexpr auto displayNames<VMState> = std::to_array<CaseText<VMState>>({
    {VMState::poweredOff, "Powered Off"},
    {VMState::starting, "Starting"},
    {VMState::running, "Running"},
    {VMState::paused, "Paused"},
    {VMState::stopping, "Stopping"},
    {VMState::suspended, "Suspended"},
    {VMState::error, "Error"},
});

[[nodiscard]] bool canStart(VMState state);
[[nodiscard]] bool canStop(VMState state);
[[nodiscard]] bool canPause(VMState state);
[[nodiscard]] bool canResume(VMState state);

class VMStateTransitionError final : public LocalizedError
{
public:
    /// `action` completes "Cannot … while virtual machine is …".
    [[nodiscard]] static VMStateTransitionError invalidTransition(VMState current, const QString &action);
    [[nodiscard]] static VMStateTransitionError operationInProgress();

private:
    using LocalizedError::LocalizedError;
};

/// The moves that make sense; each backend controller changes its state through one of these.
class VMStateMachine
{
public:
    [[nodiscard]] VMState state() const { return m_state; }

    /// Throws VMStateTransitionError::invalidTransition for a move outside the table; a repeated state is
    /// fine.
    void transition(VMState to);
    /// For what happens without being asked: the guest stopped, its process ended.
    void forceSet(VMState state) { m_state = state; }

private:
    VMState m_state = VMState::poweredOff;
};
