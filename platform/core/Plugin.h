#pragma once
// The interface of a Tessera plug-in: a Qt plug-in (a shared library with one
// QObject that implements this interface and carries Q_PLUGIN_METADATA) that
// the host loads through the plug-in manager. Its JSON description names it
// and says what it needs:
//
//   { "name": "functions", "version": "1.0.0",
//     "dependencies": [ "engine" ]   // or { "name": "engine", "version": "1.0" }
//   }
//
// A dependency with a version needs a plug-in of the same major version and
// at least that version. Plug-ins are loaded after what they depend on and
// unloaded in the reverse order.

#include "platform/core/CoreExport.h"

#include <QtPlugin>

namespace tessera {

class Core;

namespace plugin {

class TESSERA_CORE_EXPORT Plugin {
public:
    virtual ~Plugin();
    // Sets the plug-in up in `core`: registers its services, extensions and
    // modules. Throws (std::exception) when it cannot; the host reports the
    // plug-in's name with the message and goes on without it.
    virtual void load(Core* core) = 0;
    // Undoes what must not outlive the plug-in, before the core goes. Must
    // not throw.
    virtual void unload(Core* core) = 0;
};

} // namespace plugin
} // namespace tessera

// The interface's identifier, with its version: a plug-in built for another
// version of the interface is refused.
#define TESSERA_PLUGIN_IID "org.tessera.Plugin/1.0"
Q_DECLARE_INTERFACE(tessera::plugin::Plugin, TESSERA_PLUGIN_IID)
