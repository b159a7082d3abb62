import Kelvo.Components
import Kelvo.UI

Alert {
    title: "Kelvo"
    message: AppState.errorMessage
    visible: AppState.errorMessage !== ""
}
