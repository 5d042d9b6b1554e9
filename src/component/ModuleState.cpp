#include "ModuleState.h"

#include "Settings.h"

#include <oquivran/Module.h>

namespace oquivran {

void ModuleState::applyFormats(const ValueFormatSet& formats)
{
    extendedDecimals = formats.extendedDecimals;
    valueFormat = formats.valueFormat;
    secondFormat = formats.secondFormat;
}

ModuleState& moduleState()
{
    static ModuleState state;
    return state;
}

void resetModuleState()
{
    moduleState() = ModuleState();
}

QSettings settingsStore()
{
    return Settings::store();
}

} // namespace oquivran
