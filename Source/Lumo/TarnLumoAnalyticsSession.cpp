#include "Lumo/TarnLumoAnalyticsSession.h"
