#include "dmx/SacnSourceId.h"

#include "base/UserDefaults.h"

QUuid sacnSourceId(UserDefaults& defaults)
{
    const QUuid stored(defaults.objectForKey(Preferences::sacnSourceId).toString());
    if (!stored.isNull()) {
        return stored;
    }
    const QUuid made = QUuid::createUuid();
    defaults.setObject(Preferences::sacnSourceId, made.toString(QUuid::WithoutBraces));
    return made;
}
