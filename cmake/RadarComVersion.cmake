# Run at build time (cmake -P) so that every build carries the revision and date it was made from.
# Inputs: SOURCE_DIR, OUTPUT.
set(revision "000000000000")
find_package(Git QUIET)
if(GIT_FOUND)
    execute_process(COMMAND "${GIT_EXECUTABLE}" rev-parse HEAD
                    WORKING_DIRECTORY "${SOURCE_DIR}"
                    OUTPUT_VARIABLE sha OUTPUT_STRIP_TRAILING_WHITESPACE
                    RESULT_VARIABLE rc ERROR_QUIET)
    if(rc EQUAL 0 AND sha MATCHES "^[0-9a-f]+$")
        string(SUBSTRING "${sha}" 0 12 revision)
    endif()
endif()
string(TIMESTAMP build_date "%Y-%m-%d %H:%M:%S")
set(content "/* Generated at build time; not kept in the source tree. */
#include \"get_radar_com_version.h\"

const char* get_radar_com_version(void) { return \"${revision}\"; }
const char* get_radar_com_build_date(void) { return \"${build_date}\"; }
")
# The date is that of the first build of a revision: rewriting it on every build would relink the library
# and everything that depends on it each time, even when nothing changed.
set(old "")
if(EXISTS "${OUTPUT}")
    file(READ "${OUTPUT}" old)
endif()
if(NOT old MATCHES "\"${revision}\"")
    file(WRITE "${OUTPUT}" "${content}")
endif()
