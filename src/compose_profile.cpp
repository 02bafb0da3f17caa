// The modern composition profile (compose_profile.h).
#include "compose_profile.h"
