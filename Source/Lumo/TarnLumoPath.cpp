#include "Lumo/TarnLumoPath.h"
