// Compiled by the suite with the module's include folders only. As it stands it must
// compile; with DX_PLANT_HOST_INCLUDE it names a host header and must not.
#include "express/env/command_env.h"
#include "hostapi/db.h"
#ifdef DX_PLANT_HOST_INCLUDE
#include "host/db/schema.h"
#endif

int main() { return 0; }
