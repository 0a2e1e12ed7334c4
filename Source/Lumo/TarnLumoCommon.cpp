#include "Lumo/TarnLumoCommon.h"
