# What a Linux installation carries besides the programs: manual pages,
# bash completion for tallyctl, the AppStream description, the copyright
# file and the changelog. Compressed files are made at build time with
# gzip -9n, so that the same sources always give the same bytes.
if(APPLE)
  return()
endif()

set(doc_source_dir ${CMAKE_SOURCE_DIR}/resources)
set(doc_build_dir ${CMAKE_BINARY_DIR}/share/doc-staging)
set(doc_outputs)

# Configures a text file (version filled in) into the staging folder and
# compresses it there; the compressed file's path goes into out_var.
function(tally_compressed_document source name out_var)
  configure_file(${source} ${doc_build_dir}/${name} @ONLY)
  add_custom_command(
    OUTPUT ${doc_build_dir}/${name}.gz
    COMMAND gzip -9nkf ${doc_build_dir}/${name}
    DEPENDS ${doc_build_dir}/${name}
    COMMENT "Compressing ${name}"
    VERBATIM)
  set(${out_var} ${doc_build_dir}/${name}.gz PARENT_SCOPE)
endfunction()

foreach(page mixdesk-tally tallyctl mixdesk-standin atem-standin vmix-standin)
  tally_compressed_document(${doc_source_dir}/man/${page}.1 ${page}.1 page_gz)
  list(APPEND doc_outputs ${page_gz})
  install(FILES ${page_gz} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endforeach()

tally_compressed_document(${doc_source_dir}/debian/changelog changelog changelog_gz)
list(APPEND doc_outputs ${changelog_gz})
set(package_doc_dir ${TALLY_INSTALL_DOC_DIR})
install(FILES ${changelog_gz} DESTINATION ${package_doc_dir})
install(FILES ${doc_source_dir}/debian/copyright DESTINATION ${package_doc_dir})

# The user's manual, as the pages read in the source tree (index.md first),
# with the pictures they show: Help > Mixdesk Tally Help opens it. Left
# uncompressed, so that any viewer opens it and its links between pages work.
file(GLOB manual_pages ${CMAKE_SOURCE_DIR}/docs/*.md)
install(FILES ${manual_pages} DESTINATION ${package_doc_dir})
install(DIRECTORY ${CMAKE_SOURCE_DIR}/docs/screenshots DESTINATION ${package_doc_dir} FILES_MATCHING PATTERN "*.png")

# Software centres want a reverse-domain component id, the launcher's name.
set(metainfo_name io.github.mixdesktally.MixdeskTally.metainfo.xml)
configure_file(${doc_source_dir}/metainfo/${metainfo_name} ${doc_build_dir}/${metainfo_name} @ONLY)
install(FILES ${doc_build_dir}/${metainfo_name} DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)

install(FILES ${doc_source_dir}/completion/tallyctl
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)

# The stand-in's launcher: the program keeps its name (the process name the
# running check looks for) in a folder of its own, and the command path gets
# mixdesk-standin.
file(RELATIVE_PATH TALLY_STANDIN_FROM_BINDIR
  /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBEXECDIR}/mixdesk-tally)
configure_file(${doc_source_dir}/mixdesk-standin.in ${doc_build_dir}/mixdesk-standin @ONLY)
install(PROGRAMS ${doc_build_dir}/mixdesk-standin DESTINATION ${CMAKE_INSTALL_BINDIR})

add_custom_target(tally_documentation ALL DEPENDS ${doc_outputs})
