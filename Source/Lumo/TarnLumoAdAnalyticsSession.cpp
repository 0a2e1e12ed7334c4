#include "Lumo/TarnLumoAdAnalyticsSession.h"
