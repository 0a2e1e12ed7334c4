#include "Lumo/TarnLumoAnalyticsDigester.h"
