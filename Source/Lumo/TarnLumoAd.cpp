#include "Lumo/TarnLumoAd.h"
#include "Lumo/TarnLumoAd+Private.h"
