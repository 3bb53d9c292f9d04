/*
 * picture_values.h - the values every picture call starts from, for the C
 * and the C++ interface alike (C99 and C++): a new tray's fields, and the
 * numbers of the host's string resources that the picture rules read.
 */
#ifndef ORVX_PICTURE_VALUES_H
#define ORVX_PICTURE_VALUES_H

/* A new tray, as the library's own tray records start: no picture slot yet,
 * no add-on unit, the default delivery. */
#define ORVX_TRAY_NEW_ID (-1)
#define ORVX_TRAY_NEW_ADD_UNIT 0
#define ORVX_TRAY_NEW_DELIVERY 2

/* The name a tray the rules take for a manual tray is given, and the name of
 * a default tray. */
#define ORVX_STRING_MANUAL_TRAY 9481u
#define ORVX_STRING_DEFAULT_TRAY 9482u

#endif /* ORVX_PICTURE_VALUES_H */
