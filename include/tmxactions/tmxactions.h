/*
 * TmxActions: the whole interface.
 *
 * types.h has the records and what holds for every function, functions.h the generic functions.
 * The build makes constants.h (action codes, classes, parameter types and kinds, enumeration
 * values) and typed.h (a Create and a Decode function for every action) from the catalogue.
 */
#ifndef TMXACTIONS_TMXACTIONS_H
#define TMXACTIONS_TMXACTIONS_H

#include <tmxactions/constants.h>
#include <tmxactions/functions.h>
#include <tmxactions/typed.h>
#include <tmxactions/types.h>

#endif
