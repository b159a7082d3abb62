import Kelvo.Toolkit
import Kelvo.UI

/// A machine's run state in its colour.
Badge {
    required property VMPresenter presenter

    text: presenter.shown.stateText
    tone: presenter.shown.badgeTone
}
