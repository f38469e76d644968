#include "ui/Environment.h"

#include <QtGlobal>

namespace quillo {

namespace {
AppStore* provided = nullptr;
} // namespace

Environment::Environment(AppStore& store) {
    Q_ASSERT(!provided);
    provided = &store;
}

Environment::~Environment() {
    provided = nullptr;
}

AppStore& Environment::store() {
    if (!provided) {
        qFatal("A view was made without the store");
    }
    return *provided;
}

} // namespace quillo
