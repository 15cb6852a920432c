#include "base/FormatSettings.h"

TFormatSettings& FormatSettings() {
    static TFormatSettings settings;
    return settings;
}
