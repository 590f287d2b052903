#pragma once

namespace tavlo {

// The description of the bus interface, the text of packaging/nl.pelloquintar.Tavlo1.xml.
extern const char* const kControlInterfaceXml;

}  // namespace tavlo
