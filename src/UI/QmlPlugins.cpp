#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(Kelvo_DisplayPlugin)
Q_IMPORT_QML_PLUGIN(Kelvo_StatePlugin)
Q_IMPORT_QML_PLUGIN(Kelvo_ToolkitPlugin)
Q_IMPORT_QML_PLUGIN(Kelvo_UIPlugin)
