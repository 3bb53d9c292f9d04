# Read by cpack for each generator it runs (CPACK_PROJECT_CONFIG_FILE).
if(CPACK_GENERATOR STREQUAL "DEB")
  # CPack would put the project's summary before each package's description,
  # whose first line is that package's own synopsis: it does not when the
  # summary is its default.
  set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${CPACK_DEFAULT_PACKAGE_DESCRIPTION_SUMMARY}")
  set(CPACK_PRE_BUILD_SCRIPTS "${CPACK_ORVX_SOURCE_DIR}/cmake/debian/package-files.cmake")
endif()
