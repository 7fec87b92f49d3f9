/* Version strings compiled into the library at build time. */
#ifndef GET_RADAR_COM_VERSION_H
#define GET_RADAR_COM_VERSION_H

#ifdef __cplusplus
extern "C" {
#endif

/* Twelve hexadecimal digits of the source revision the library was built from, or "000000000000" when the
 * build did not run inside a git checkout. */
const char* get_radar_com_version(void);

/* Local date and time of the build, "YYYY-MM-DD HH:MM:SS". */
const char* get_radar_com_build_date(void);

#ifdef __cplusplus
}
#endif

#endif
