#include "Lumo/TarnLumoTimeline.h"
