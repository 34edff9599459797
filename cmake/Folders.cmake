# das_folders(PREFIX TARGET): the folders of the current directory, from the ground up. Each one is
# added by das_folder() and sees its own headers and those of the folders added before it, and no
# others: the build refuses an include that points the wrong way.
#
# An include names the folder ("database/DatabaseAdapter.h"). The compiler finds it through a link
# <build>/folders/PREFIX/<folder>/<folder>, so that a folder's place in the search path shows that
# folder alone.
macro(das_folders prefix target)
    set(das_folder_prefix ${prefix})
    set(das_folder_target ${target})
    set(das_folder_views)
    set(das_folder_names)
    add_library(${target} INTERFACE)
endmacro()

# das_folder(NAME [LIBRARIES ...] SOURCES ...): one object library, named after the prefix and the
# folder. Its objects belong to the target that das_folders() named.
macro(das_folder name)
    cmake_parse_arguments(ARG "" "" "LIBRARIES;SOURCES" ${ARGN})
    set(das_folder_view ${CMAKE_BINARY_DIR}/folders/${das_folder_prefix}/${name})
    file(MAKE_DIRECTORY ${das_folder_view})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${name} ${das_folder_view}/${name} SYMBOLIC)
    list(APPEND das_folder_views ${das_folder_view})
    list(APPEND das_folder_names ${name})
    set(das_folder_sources)
    foreach(source ${ARG_SOURCES})
        if(IS_ABSOLUTE ${source})
            list(APPEND das_folder_sources ${source})
        else()
            list(APPEND das_folder_sources ${name}/${source})
        endif()
    endforeach()
    add_library(${das_folder_prefix}_${name} OBJECT ${das_folder_sources})
    target_include_directories(${das_folder_prefix}_${name} PRIVATE ${das_folder_views})
    target_link_libraries(${das_folder_prefix}_${name} PRIVATE ${ARG_LIBRARIES})
    target_sources(${das_folder_target} INTERFACE
        $<TARGET_OBJECTS:${das_folder_prefix}_${name}>)
endmacro()
