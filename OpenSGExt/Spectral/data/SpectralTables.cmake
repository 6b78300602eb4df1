# SpectralData's static tables are compiled from the published CSV files beside this script; the
# C++ source lives in the build tree only.
find_package(Python3 COMPONENTS Interpreter REQUIRED)
set(SKOSG_SPECTRAL_DATA ${CMAKE_CURRENT_LIST_DIR})
set(SKOSG_SPECTRAL_TABLES ${CMAKE_CURRENT_BINARY_DIR}/generated/SpectralTables.cpp)
file(GLOB SKOSG_SPECTRAL_CSV CONFIGURE_DEPENDS ${SKOSG_SPECTRAL_DATA}/*.csv)
add_custom_command(
    OUTPUT ${SKOSG_SPECTRAL_TABLES}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/generated
    COMMAND Python3::Interpreter ${SKOSG_SPECTRAL_DATA}/gen_spectral_tables.py
            ${SKOSG_SPECTRAL_TABLES} ${SKOSG_SPECTRAL_DATA}
    DEPENDS ${SKOSG_SPECTRAL_DATA}/gen_spectral_tables.py ${SKOSG_SPECTRAL_CSV}
    COMMENT "Generating the spectral tables from the CIE and basis-spectra CSV files"
    VERBATIM)
target_sources(skOpenSGExt PRIVATE ${SKOSG_SPECTRAL_TABLES})
