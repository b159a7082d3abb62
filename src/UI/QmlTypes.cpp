#include "UI/QmlTypes.h"

AppState *AppStateForeign::create(QQmlEngine *, QJSEngine *)
{
    Q_ASSERT(instance);
    QQmlEngine::setObjectOwnership(instance, QQmlEngine::CppOwnership);
    return instance;
}
