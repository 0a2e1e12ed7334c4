#include "Lumo/TarnLumoContentAnalyticsSession.h"
