# Finds libedit, which Debian ships without a CMake package. Result: the target Edit::Edit.
find_path(Edit_INCLUDE_DIR histedit.h)
find_library(Edit_LIBRARY edit)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Edit REQUIRED_VARS Edit_LIBRARY Edit_INCLUDE_DIR)
mark_as_advanced(Edit_INCLUDE_DIR Edit_LIBRARY)

if(Edit_FOUND AND NOT TARGET Edit::Edit)
    add_library(Edit::Edit UNKNOWN IMPORTED)
    set_target_properties(Edit::Edit PROPERTIES
        IMPORTED_LOCATION "${Edit_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${Edit_INCLUDE_DIR}")
    # An archive does not say what it needs itself.
    if(Edit_LIBRARY MATCHES "\\.a$")
        find_library(Edit_TERMINAL_LIBRARY NAMES tinfo ncursesw ncurses termcap)
        mark_as_advanced(Edit_TERMINAL_LIBRARY)
        if(Edit_TERMINAL_LIBRARY)
            set_target_properties(Edit::Edit PROPERTIES INTERFACE_LINK_LIBRARIES "${Edit_TERMINAL_LIBRARY}")
        endif()
    endif()
endif()
