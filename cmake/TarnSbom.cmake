# Writes the software bill of materials, tarn-appdb.spdx.json (SPDX 2.3): what is built, and the
# libraries that it is linked to or compiled with, in the versions that were found.

set(packages)
set(relationships)

# tarn_add_to_sbom(NAME VERSION user...): users are the parts of this project that contain it.
macro(tarn_add_to_sbom name version)
  string(APPEND packages ",
    {
      \"SPDXID\": \"SPDXRef-${name}\",
      \"name\": \"${name}\",
      \"versionInfo\": \"${version}\",
      \"downloadLocation\": \"NOASSERTION\",
      \"filesAnalyzed\": false
    }")
  foreach(user ${ARGN})
    string(APPEND relationships ",
    {
      \"spdxElementId\": \"SPDXRef-${user}\",
      \"relationshipType\": \"DEPENDS_ON\",
      \"relatedSpdxElement\": \"SPDXRef-${name}\"
    }")
  endforeach()
endmacro()

tarn_add_to_sbom(tarn-db-loader ${PROJECT_VERSION} tarn-appdb)
tarn_add_to_sbom(libtarn-appdb ${PROJECT_VERSION} tarn-appdb)
tarn_add_to_sbom(liblzma "${LIBLZMA_VERSION_STRING}" tarn-db-loader libtarn-appdb)
if(tarn_with_dbimage)
  tarn_add_to_sbom(libtarn-dbimage ${PROJECT_VERSION} tarn-appdb)
  tarn_add_to_sbom(libcrypto "${OPENSSL_VERSION}" libtarn-dbimage)
endif()
if(TARN_BUILD_TOOL)
  tarn_add_to_sbom(tarn-db-tool ${PROJECT_VERSION} tarn-appdb)
  string(APPEND relationships ",
    {
      \"spdxElementId\": \"SPDXRef-tarn-db-tool\",
      \"relationshipType\": \"DEPENDS_ON\",
      \"relatedSpdxElement\": \"SPDXRef-libtarn-dbimage\"
    }")
  foreach(library IN ITEMS check:expat:EXPAT_VERSION_STRING check:fmt:fmt_VERSION
      check:nlohmann-json:nlohmann_json_VERSION check:utf8cpp:utf8cpp_VERSION
      tool:CLI11:CLI11_VERSION)
    string(REPLACE ":" ";" library ${library})
    list(GET library 0 folder)
    list(GET library 1 name)
    list(GET library 2 variable)
    get_directory_property(version DIRECTORY ${folder} DEFINITION ${variable})
    tarn_add_to_sbom(${name} "${version}" tarn-db-tool)
  endforeach()
endif()

string(TIMESTAMP created UTC) # that of SOURCE_DATE_EPOCH, if it is in the environment
string(SHA256 hash "${packages}${relationships}${created}")
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/tarn-appdb.spdx.json @ONLY CONTENT [[{
  "spdxVersion": "SPDX-2.3",
  "dataLicense": "CC0-1.0",
  "SPDXID": "SPDXRef-DOCUMENT",
  "name": "@PROJECT_NAME@-@PROJECT_VERSION@",
  "documentNamespace": "https://spdx.invalid/@PROJECT_NAME@-@PROJECT_VERSION@-@hash@",
  "creationInfo": {
    "created": "@created@",
    "creators": ["Tool: CMake-@CMAKE_VERSION@"]
  },
  "packages": [
    {
      "SPDXID": "SPDXRef-@PROJECT_NAME@",
      "name": "@PROJECT_NAME@",
      "versionInfo": "@PROJECT_VERSION@",
      "downloadLocation": "NOASSERTION",
      "filesAnalyzed": false
    }@packages@
  ],
  "relationships": [
    {
      "spdxElementId": "SPDXRef-DOCUMENT",
      "relationshipType": "DESCRIBES",
      "relatedSpdxElement": "SPDXRef-@PROJECT_NAME@"
    }@relationships@
  ]
}
]])
