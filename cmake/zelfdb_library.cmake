# libzelfdb, shared and static. The folders of the library have no lists of their own: a new file is picked up.
file(GLOB zelfdb_sources CONFIGURE_DEPENDS
  core/*.cpp np/*.cpp fdb/*.cpp port/*.cpp vlan/*.cpp qos/*.cpp classify/*.cpp mirror/*.cpp replay/*.cpp)

# Compiled once for both. The internal names are hidden from the shared library's users and open to unit tests.
add_library(zelfdb_objects OBJECT ${zelfdb_sources})
target_include_directories(zelfdb_objects
  PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
  PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(zelfdb_objects PRIVATE $<BUILD_INTERFACE:zelfdb_options> $<BUILD_INTERFACE:zelfdb_hardening>)
target_compile_options(zelfdb_objects PRIVATE
  -fno-exceptions -fno-rtti -fvisibility=hidden -fvisibility-inlines-hidden -ffunction-sections)
# The library alone is counted.
if(ZELFDB_COVERAGE)
  target_compile_options(zelfdb_objects PRIVATE --coverage)
endif()
set_target_properties(zelfdb_objects PROPERTIES POSITION_INDEPENDENT_CODE ON)

# The vf_ names stay undefined: whatever libvf.so the platform has provides them. Commands that no exported operation
# sends yet are dropped, so that the library asks its NP for nothing that it does not use.
set(zelfdb_map ${PROJECT_SOURCE_DIR}/cmake/libzelfdb.map)
add_library(zelfdb SHARED $<TARGET_OBJECTS:zelfdb_objects>)
target_include_directories(zelfdb INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_link_options(zelfdb PRIVATE
  -Wl,--version-script=${zelfdb_map} -Wl,--gc-sections -Wl,--unresolved-symbols=ignore-all)
target_link_libraries(zelfdb PRIVATE $<BUILD_INTERFACE:zelfdb_options> $<BUILD_INTERFACE:zelfdb_hardening>)
set_target_properties(zelfdb PROPERTIES
  VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} LINK_DEPENDS ${zelfdb_map})

add_library(zelfdb_static STATIC $<TARGET_OBJECTS:zelfdb_objects>)
target_include_directories(zelfdb_static INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
set_target_properties(zelfdb_static PROPERTIES OUTPUT_NAME zelfdb)
if(ZELFDB_COVERAGE)
  target_link_options(zelfdb PRIVATE --coverage)
  # The library first: of an inline function that tests use too, the linker takes the first copy, and only ours counts.
  target_link_options(zelfdb_static INTERFACE
    --coverage LINKER:--whole-archive,$<TARGET_FILE:zelfdb_static>,--no-whole-archive)
endif()

# Installation: libraries, headers, pkg-config file, CMake package.
install(TARGETS zelfdb zelfdb_static EXPORT zelfdb_targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES include/zelfdb/zelfdb.h include/zelfdb/vf.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zelfdb)
install(FILES docs/libzelfdb.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3)

# The installed tree may be moved: paths are found from where the file lies.
file(RELATIVE_PATH zelfdb_prefix_from_pc /p/${CMAKE_INSTALL_LIBDIR}/pkgconfig /p)
configure_file(cmake/zelfdb.pc.in zelfdb.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zelfdb.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

include(CMakePackageConfigHelpers)
configure_package_config_file(cmake/zelfdb-config.cmake.in zelfdb-config.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zelfdb)
write_basic_package_version_file(zelfdb-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zelfdb-config.cmake ${CMAKE_CURRENT_BINARY_DIR}/zelfdb-config-version.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zelfdb)
install(EXPORT zelfdb_targets NAMESPACE zelfdb:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zelfdb)
