# Linux programs carry no version resource; the ELF package note (ld --package-metadata, owner "FDO") is the
# place distributions put a program's name and version, and where the log's banner looks for them.
include(CheckLinkerFlag)
check_linker_flag(CXX "LINKER:--package-metadata={}" TESSEL_LINKER_HAS_PACKAGE_METADATA)

# Gives an executable a package note naming it and the project's version, where the linker can write one.
function(tessel_add_package_note target name)
  if(TESSEL_LINKER_HAS_PACKAGE_METADATA)
    # -Xlinker keeps the JSON's commas together; the single quotes keep its double quotes from the shell.
    set(json "{\"type\":\"tessel\",\"name\":\"${name}\",\"version\":\"${PROJECT_VERSION}\"}")
    target_link_options(${target} PRIVATE "SHELL:-Xlinker '--package-metadata=${json}'")
  endif()
endfunction()
