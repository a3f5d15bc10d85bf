#ifndef OBVISTA_IDENTITY_H
#define OBVISTA_IDENTITY_H

/** Names under which the application presents itself, to the user and to the system. */
namespace obvista {

inline constexpr char a_productName[] = "Obvista";
inline constexpr char a_applicationName[] = "Obvista Desktop";
inline constexpr char a_organisationName[] = "Quorvane Robotics";
inline constexpr char a_organisationDomain[] = "www.quorvane.com";
/** Name of the menu entry, by which desktops find the icon and the name of a window. */
inline constexpr char a_desktopFileName[] = OBVISTA_APPLICATION_ID;
inline constexpr char a_version[] = OBVISTA_VERSION;

}  // namespace obvista

#endif
