# The message catalogues: Qt Linguist sources beside this file, turned into
# .qm files by lrelease at build time and compiled into the library as the
# resource collection "translations" (under ":/translations/"). Included from
# the directory that defines the Skeda target, so that the generated files
# are its sources under every generator.
find_package(Qt5 5.15 REQUIRED COMPONENTS LinguistTools)
set(SKEDA_TS_FILES ${CMAKE_CURRENT_LIST_DIR}/skeda_en.ts)
qt5_add_translation(SKEDA_QM_FILES ${SKEDA_TS_FILES})
set(SKEDA_TR_QRC ${CMAKE_CURRENT_BINARY_DIR}/translations.qrc)
file(WRITE ${SKEDA_TR_QRC}.in "<RCC>\n  <qresource prefix=\"/translations\">\n")
foreach(qm ${SKEDA_QM_FILES})
  get_filename_component(qm_name ${qm} NAME)
  file(APPEND ${SKEDA_TR_QRC}.in "    <file>${qm_name}</file>\n")
endforeach()
file(APPEND ${SKEDA_TR_QRC}.in "  </qresource>\n</RCC>\n")
configure_file(${SKEDA_TR_QRC}.in ${SKEDA_TR_QRC} COPYONLY)
set_source_files_properties(${SKEDA_TR_QRC} PROPERTIES SKIP_AUTORCC ON)
qt5_add_resources(SKEDA_TR_SOURCES ${SKEDA_TR_QRC})
target_sources(Skeda PRIVATE ${SKEDA_QM_FILES} ${SKEDA_TR_SOURCES})
