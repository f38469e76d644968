#include "platform/desktop/Sandbox.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace quillo {

bool isSandboxed() {
    return QFileInfo::exists(u"/.flatpak-info"_s) || qEnvironmentVariableIsSet("SNAP_NAME");
}

} // namespace quillo
