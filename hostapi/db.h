// Draxel host interface: the database family. One header per part; this one brings them
// all, as most module code wants.
#pragma once

#include "hostapi/db_base.h"
#include "hostapi/db_database.h"
#include "hostapi/db_dictionaries.h"
#include "hostapi/db_entity_lists.h"
#include "hostapi/db_objects.h"
#include "hostapi/db_tables.h"
