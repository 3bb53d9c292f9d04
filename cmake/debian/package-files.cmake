# Run by `cpack -G DEB` on each package's staged files before it packs them
# (CPACK_PRE_BUILD_SCRIPTS): what Debian wants in every binary package and a
# plain install does not have. Each package gets /usr/share/doc/<package>/ with
# the copyright file (from LICENSE, which it replaces) and changelog.gz (from
# CHANGELOG.md); man pages are compressed; the library's package gets its
# shlibs and symbols files.
find_program(ORVX_PYTHON NAMES python3 REQUIRED)
find_program(ORVX_GZIP gzip REQUIRED)
find_program(ORVX_NM nm REQUIRED)
find_program(ORVX_READELF readelf REQUIRED)
find_program(ORVX_STRIP strip REQUIRED)

set(work "${CPACK_TOPLEVEL_DIRECTORY}/debian")
file(REMOVE_RECURSE "${work}")
file(MAKE_DIRECTORY "${work}")

# gzip -n: no name or time stamp inside, so that the same sources give the same bytes.
execute_process(COMMAND "${ORVX_PYTHON}" "${CPACK_ORVX_SOURCE_DIR}/cmake/debian/changelog.py"
                        "${CPACK_ORVX_SOURCE_DIR}/CHANGELOG.md" "${CPACK_PACKAGE_VERSION}"
                        "${CPACK_PACKAGE_CONTACT}" "${work}/changelog"
                COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${ORVX_GZIP}" -9n "${work}/changelog" COMMAND_ERROR_IS_FATAL ANY)

# The machine-readable copyright format, with LICENSE's holder and text.
file(READ "${CPACK_ORVX_SOURCE_DIR}/LICENSE" license)
if(NOT license MATCHES "Copyright \\([cC]\\) ([^\n]+)")
  message(FATAL_ERROR "LICENSE names no copyright holder")
endif()
set(holder "${CMAKE_MATCH_1}")
string(FIND "${license}" "Permission is hereby granted" start)
if(start LESS 0)
  message(FATAL_ERROR "LICENSE is not the MIT (Expat) text that the copyright file describes")
endif()
string(SUBSTRING "${license}" ${start} -1 text)
string(STRIP "${text}" text)
string(REGEX REPLACE "\n[ \t]*\n" "\n.\n" text "${text}")
string(REPLACE "\n" "\n " text "${text}")
file(WRITE "${work}/copyright"
"Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/
Upstream-Name: ${CPACK_PACKAGE_NAME}
Upstream-Contact: ${CPACK_PACKAGE_CONTACT}
Source: ${CPACK_PACKAGE_HOMEPAGE_URL}

Files: *
Copyright: ${holder}
License: Expat
 ${text}
")

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER "${component}" upper)
  set(package "${CPACK_DEBIAN_${upper}_PACKAGE_NAME}")
  set(root "${CPACK_TEMPORARY_DIRECTORY}/${component}")
  if(NOT package OR NOT IS_DIRECTORY "${root}")
    message(FATAL_ERROR "no staged files or no package name for the component ${component} (${root})")
  endif()
  # Copied, not file(INSTALL): that would go below the DESTDIR cpack sets.
  file(MAKE_DIRECTORY "${root}/usr/share/doc/${package}")
  foreach(name copyright changelog.gz)
    file(COPY_FILE "${work}/${name}" "${root}/usr/share/doc/${package}/${name}")
  endforeach()
  file(GLOB licenses "${root}/usr/share/doc/*/LICENSE")
  if(licenses)
    file(REMOVE ${licenses})
  endif()
  # What Debian's dh_strip removes beyond the install's strip: the compilers'
  # version notes.
  file(GLOB_RECURSE binaries LIST_DIRECTORIES false "${root}/usr/bin/*" "${root}/usr/lib/*.so.*")
  foreach(binary IN LISTS binaries)
    file(READ "${binary}" magic LIMIT 4 HEX)
    if(NOT IS_SYMLINK "${binary}" AND magic STREQUAL "7f454c46")
      execute_process(COMMAND "${ORVX_STRIP}" --remove-section=.comment --remove-section=.note "${binary}"
                      COMMAND_ERROR_IS_FATAL ANY)
    endif()
  endforeach()
  file(GLOB_RECURSE pages LIST_DIRECTORIES false "${root}/usr/share/man/*.[0-9]")
  foreach(page IN LISTS pages)
    execute_process(COMMAND "${ORVX_GZIP}" -9nf "${page}" COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
endforeach()

# A host built against this version needs it or a later one of the same
# SONAME (the ABI check keeps those compatible): the shlibs file says so for
# the library, the symbols file for every symbol it exports. That is never
# less than a host needs: a symbol added in a later version of the same SONAME
# is listed from that version on.
file(GLOB_RECURSE libraries LIST_DIRECTORIES false "${CPACK_TEMPORARY_DIRECTORY}/runtime/*.so.*")
list(FILTER libraries EXCLUDE REGEX "\\.debug$")
set(shlibs "")
set(symbols "")
foreach(library IN LISTS libraries)
  if(IS_SYMLINK "${library}")
    continue()
  endif()
  execute_process(COMMAND "${ORVX_READELF}" -d -W "${library}" OUTPUT_VARIABLE dynamic COMMAND_ERROR_IS_FATAL ANY)
  if(NOT dynamic MATCHES "\\(SONAME\\)[^\n]*\\[([^]\n]+)\\]")
    message(FATAL_ERROR "${library} has no SONAME")
  endif()
  set(soname "${CMAKE_MATCH_1}")
  if(NOT soname MATCHES "^(.+)\\.so\\.([^/]+)$")
    message(FATAL_ERROR "${library}: the SONAME ${soname} has no version")
  endif()
  string(APPEND shlibs "${CMAKE_MATCH_1} ${CMAKE_MATCH_2} ${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (>= ${CPACK_PACKAGE_VERSION})\n")
  string(APPEND symbols "${soname} ${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} #MINVER#\n"
                        "* Build-Depends-Package: ${CPACK_DEBIAN_DEV_PACKAGE_NAME}\n")
  execute_process(COMMAND "${ORVX_NM}" -D --defined-only -P "${library}" OUTPUT_VARIABLE listed COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "(^|\n)[^ \n]+" names "${listed}")
  list(TRANSFORM names STRIP)
  list(SORT names)
  foreach(name IN LISTS names)
    if(NOT name MATCHES "@")
      string(APPEND name "@Base")
    endif()
    string(REPLACE "@@" "@" name "${name}")
    string(APPEND symbols " ${name} ${CPACK_PACKAGE_VERSION}\n")
  endforeach()
endforeach()
if(symbols STREQUAL "")
  message(FATAL_ERROR "no shared library among the staged files of the runtime component")
endif()
file(MAKE_DIRECTORY "${CPACK_ORVX_CONTROL_DIR}")
file(WRITE "${CPACK_ORVX_CONTROL_DIR}/shlibs" "${shlibs}")
file(WRITE "${CPACK_ORVX_CONTROL_DIR}/symbols" "${symbols}")
