# Windows builds: programs and DLLs in one folder with the compiler's runtime
# DLLs, so that each runs from there and LoadLibrary("orvx.dll") finds ours;
# when cross-compiling, programs run under Wine in a prefix of this build.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
enable_language(RC)

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  foreach(dll libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
                    OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT IS_ABSOLUTE "${path}" OR NOT EXISTS "${path}")
      message(FATAL_ERROR "The compiler's runtime ${dll} was not found")
    endif()
    file(COPY ${path} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  endforeach()
endif()

if(CMAKE_CROSSCOMPILING)
  find_program(ORVX_WINE NAMES wine64 wine PATHS /usr/lib/wine /usr/lib64/wine NO_CMAKE_FIND_ROOT_PATH)
  find_program(ORVX_WINESERVER NAMES wineserver64 wineserver PATHS /usr/lib/wine /usr/lib64/wine NO_CMAKE_FIND_ROOT_PATH)
  if(ORVX_WINE AND ORVX_WINESERVER)
    set(ORVX_WINEPREFIX ${PROJECT_BINARY_DIR}/wineprefix)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/wine-run.sh.in ${PROJECT_BINARY_DIR}/wine-run.sh
                   FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE
                   @ONLY)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${PROJECT_BINARY_DIR}/wine-run.sh)
  else()
    message(WARNING "Wine was not found: the Windows programs build, but neither the sample database nor the tests can run")
  endif()
  # Paths baked into the tests are read by Windows programs: Wine maps Z: to /.
  set(ORVX_NATIVE_ROOT "Z:")
endif()

# Builds without a benchmark library for the target.
set(ORVX_BUILD_BENCH OFF CACHE BOOL "" FORCE)
