# The shared libraries, of the objects that the static ones are made of: those are built
# position-independent, and calls inside a library are bound when it is linked.
set(opal_exports ${PROJECT_BINARY_DIR}/exports.map)
configure_file(cmake/exports.map ${opal_exports} @ONLY)

# opal_shared(PART): the shared library opal_PART_shared, whose file is libopal_PART.so.
function(opal_shared part)
  set(library opal_${part}_shared)
  add_library(${library} SHARED $<TARGET_OBJECTS:opal_${part}>)
  target_include_directories(${library} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:include>)
  target_compile_features(${library} PUBLIC cxx_std_17)
  target_link_options(${library} PRIVATE LINKER:--version-script=${opal_exports})
  set_target_properties(${library} PROPERTIES
    EXPORT_NAME ${part} OUTPUT_NAME opal_${part} LINKER_LANGUAGE CXX
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
    LINK_DEPENDS ${opal_exports})
endfunction()

opal_shared(engine)
target_link_libraries(opal_engine_shared PUBLIC GMP::gmp)
if(OPAL_BUILD_HOST)
  opal_shared(host)
  target_link_libraries(opal_host_shared PUBLIC opal_engine_shared)
endif()
