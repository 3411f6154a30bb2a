# find_package(velmoml) brings velmoml::velmo_parent, the parent's side of the inference process.
include(CMakeFindDependencyMacro)
find_dependency(Threads)
include(${CMAKE_CURRENT_LIST_DIR}/velmomlTargets.cmake)
