// Draxel host interface, database family: entity lists (entget, entmake, entmod and the
// table walks) and their coordinate systems.
#pragma once

#include "hostapi/db_base.h"

// ---------------------------------------------------------------------------------------
// Entity lists

// The entity list of an object; with apps (a chain of RTSTR names, "*" for all), its
// extended data too. Null when the name is not valid. The caller releases the chain.
resbuf* dxdbEntGet(const dx_name ent, const resbuf* apps = nullptr);
// Makes an entity from a list and appends it to the current space; RTNORM or RTERROR.
int dxdbEntMake(const resbuf* list);
// Changes an entity (or object) by the groups of its list; RTNORM or RTERROR.
int dxdbEntMod(const resbuf* list);
// Erases (or, when erased, brings back) an entity.
int dxdbEntDel(const dx_name ent);
// The last entity of the current space that is not erased.
int dxdbEntLast(dx_name result);
// The first entity (ent null) or the one after ent, in the current space.
int dxdbEntNext(const dx_name ent, dx_name result);
// The symbol table record list of table ("LAYER", "LTYPE", "STYLE", "DIMSTYLE", "BLOCK",
// "APPID", "UCS", "VIEW", "VPORT") named sym; null when absent.
resbuf* dxdbTblSearch(const char* table, const char* sym, int setnext = 0);
// The next record of a table (rewind from the start with rewind != 0).
resbuf* dxdbTblNext(const char* table, int rewind = 0);
// The entity name of a record.
int dxdbTblObjName(const char* table, const char* sym, dx_name result);
// Object and entity handles in text form.
int dxdbHandEnt(const char* handle, dx_name result);

// Coordinate systems of the entity-list functions.
int dxdbWcs2Ecs(const double* p, double* q, const double* norm, bool isVector);
int dxdbEcs2Wcs(const double* p, double* q, const double* norm, bool isVector);
