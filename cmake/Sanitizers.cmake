if(DHCP_SANITIZE)
  add_compile_options(-fsanitize=${DHCP_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${DHCP_SANITIZE})
  if(DHCP_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize=vptr) # the module is built without RTTI
  endif()
endif()
