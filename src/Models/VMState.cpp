#include "Models/VMState.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

struct Move
{
    VMState from;
    VMState to;
    bool operator==(const Move &) const = default;
};

constexpr std::array allowedMoves = {
    Move{VMState::poweredOff, VMState::starting}, Move{VMState::starting, VMState::running},
    Move{VMState::starting, VMState::error},      Move{VMState::running, VMState::paused},
    Move{VMState::running, VMState::stopping},    Move{VMState::running, VMState::suspended},
    Move{VMState::running, VMState::error},       Move{VMState::paused, VMState::running},
    Move{VMState::paused, VMState::stopping},     Move{VMState::stopping, VMState::poweredOff},
    Move{VMState::stopping, VMState::error},      Move{VMState::suspended, VMState::starting},
    Move{VMState::error, VMState::starting},
};

} // namespace

bool canStart(VMState state)
{
    return state == VMState::poweredOff || state == VMState::paused || state == VMState::suspended ||
           state == VMState::error;
}

bool canStop(VMState state)
{
    return state == VMState::starting || state == VMState::running || state == VMState::paused;
}

bool canPause(VMState state)
{
    return state == VMState::running;
}

bool canResume(VMState state)
{
    return state == VMState::paused;
}

VMStateTransitionError VMStateTransitionError::invalidTransition(VMState current, const QString &action)
{
    return {u"Cannot "_s + action + u" while virtual machine is "_s + displayName(current).toLower() + u'.'};
}

VMStateTransitionError VMStateTransitionError::operationInProgress()
{
    return {u"Another virtualization operation is already in progress."_s};
}

void VMStateMachine::transition(VMState to)
{
    if (std::ranges::find(allowedMoves, Move{m_state, to}) != allowedMoves.end()) {
        m_state = to;
        return;
    }
    if (to != m_state)
        throw VMStateTransitionError::invalidTransition(m_state, displayName(to));
}
