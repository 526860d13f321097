# The Debian packages, made by `cpack -G DEB`; scripts/make-packages does everything from the build on.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "The orselcards authors <orselcards@orselcards.example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # would become the first line of the packages' own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_COMPONENTS_ALL
    orselcards orselcards-debian certviewer certviewer-debian cli cli-debian simulator simulator-debian
    bridge bridge-debian)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(CMAKE_LIBRARY_ARCHITECTURE STREQUAL arm-linux-gnueabihf)
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf) # not the building machine's own
endif()

set(CPACK_DEBIAN_ORSELCARDS_PACKAGE_NAME orselcards)
set(CPACK_DEBIAN_ORSELCARDS_PACKAGE_SECTION utils)
# The bridge provides this name, and so may whoever packs another token library.
set(CPACK_DEBIAN_ORSELCARDS_PACKAGE_SUGGESTS "orsel-token-library | orselcards-simulator")
set(CPACK_DEBIAN_ORSELCARDS_PACKAGE_RECOMMENDS orselcards-certviewer)
set(CPACK_DEBIAN_ORSELCARDS_DESCRIPTION "card manager for citizen smart cards
Lists every citizen smart card that the card readers offer and works on the
selected one: shows its certificates and its infobox area with the identity
link, has its PINs changed or unblocked, and tries a signature.
.
Cards are reached through a PKCS#11 token library, libOrselP11.so, which is
loaded at run time and not part of this package. Without one the list stays
empty.")

set(CPACK_DEBIAN_CERTVIEWER_PACKAGE_NAME orselcards-certviewer)
set(CPACK_DEBIAN_CERTVIEWER_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_CERTVIEWER_PACKAGE_CONTROL_EXTRA
    "${CMAKE_CURRENT_SOURCE_DIR}/debian/certviewer/postinst;${CMAKE_CURRENT_SOURCE_DIR}/debian/certviewer/prerm")
set(CPACK_DEBIAN_CERTVIEWER_DESCRIPTION "certificate viewer of the card manager orselcards
Shows everything that an X.509 certificate in a PEM or DER file says, in a
window or as text: names, dates, key, extensions, fingerprints. Saves it as
PEM or DER.
.
Offers itself as certViewerApp, the program that the card manager shows
certificates with.")

set(CPACK_DEBIAN_CLI_PACKAGE_NAME orselcards-cli)
set(CPACK_DEBIAN_CLI_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_CLI_PACKAGE_RECOMMENDS "pinentry-curses | pinentry")
set(CPACK_DEBIAN_CLI_PACKAGE_SUGGESTS "orsel-token-library | orselcards-simulator")
set(CPACK_DEBIAN_CLI_DESCRIPTION "citizen smart cards on the command line
Lists citizen smart cards, shows what they hold, has their PINs changed or
unblocked, signs and verifies files, reads and protects entries of the infobox
area, writes renewed certificates, and tells what is missing on a machine that
cannot use cards. For people and, with JSON, for scripts; it needs no display.
.
Cards are reached through a PKCS#11 token library, libOrselP11.so, which is
loaded at run time and not part of this package.")

set(CPACK_DEBIAN_SIMULATOR_PACKAGE_NAME orselcards-simulator)
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_DEPENDS "orselcards (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_RECOMMENDS "pinentry-gtk2 | pinentry")
set(CPACK_DEBIAN_SIMULATOR_DESCRIPTION "simulated citizen smart cards for orselcards
A PKCS#11 token library whose cards are directories on disk, with real keys,
certificates and signatures, and the tool that makes decks of such cards. The
command orselcards-demo starts the card manager on a deck of its own.
.
The library stands in a directory that the loader does not look through, so it
never gets in the way of a real one.")

set(CPACK_DEBIAN_BRIDGE_PACKAGE_NAME orselcards-bridge)
set(CPACK_DEBIAN_BRIDGE_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_BRIDGE_PACKAGE_PROVIDES orsel-token-library)
set(CPACK_DEBIAN_BRIDGE_PACKAGE_RECOMMENDS
    "orselcards | orselcards-cli, pinentry-gtk2 | pinentry, p11-kit-modules | opensc-pkcs11, libpcsclite1")
set(CPACK_DEBIAN_BRIDGE_DESCRIPTION "real cards for orselcards through any PKCS#11 library
A PKCS#11 token library that leads to another one: that of OpenSC, of a TPM,
SoftHSM, or whatever p11-kit knows. Its tokens get what the card manager asks
for: keys and certificates under the labels of their roles, keys that show
before a login, and a question for the PIN with each signature. The command
orselcards-bridge starts the card manager or the command line on it.
.
The library stands in a directory that the loader does not look through, so it
never gets in the way of another one.")

include(CPack)
foreach(package orselcards certviewer cli simulator bridge)
    cpack_add_component_group(${package})
    cpack_add_component(${package} GROUP ${package})
    cpack_add_component(${package}-debian GROUP ${package})
endforeach()
