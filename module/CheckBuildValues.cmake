# Judges the values of the catalogue's deployment before they become part of the module.
if(NOT VELMART_PRODUCTION_HOST MATCHES "^[A-Za-z0-9.-]+$")
  message(FATAL_ERROR "VELMART_PRODUCTION_HOST must be the host name of the catalogue's production service, such as "
                      "catalogue.example.com; it is \"${VELMART_PRODUCTION_HOST}\"")
endif()
string(LENGTH "${VELMART_OTHER_HOSTS_FRAGMENT}" length)
if(NOT VELMART_OTHER_HOSTS_FRAGMENT MATCHES "^-[A-Za-z0-9.-]*[.]$" OR NOT length EQUAL 7)
  message(FATAL_ERROR "VELMART_OTHER_HOSTS_FRAGMENT must have seven characters, a hyphen first and a dot last, such as "
                      "-parts.; it is \"${VELMART_OTHER_HOSTS_FRAGMENT}\"")
endif()
if(NOT VELMART_SERVICE_URL MATCHES "^https://[^\"\\ ]+$")
  message(FATAL_ERROR "VELMART_SERVICE_URL must be the address of the catalogue service, beginning with https://; "
                      "it is \"${VELMART_SERVICE_URL}\"")
endif()
