# The blend optimiser (tarn/optimize.h), part of libtarnblend. It solves with
# IPOPT (Debian coinor-libipopt-dev), found through pkg-config; the optimiser
# is a core product feature, so the blend library requires it.
find_package(PkgConfig REQUIRED)
pkg_check_modules(IPOPT REQUIRED IMPORTED_TARGET ipopt)
file(GLOB TARNBLEND_OPTIMIZE_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/*.cpp)
target_sources(tarnblend PRIVATE ${TARNBLEND_OPTIMIZE_SOURCES})
target_include_directories(tarnblend PRIVATE ${CMAKE_CURRENT_LIST_DIR})
target_link_libraries(tarnblend PRIVATE PkgConfig::IPOPT)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/../include/tarn/optimize.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tarn)
