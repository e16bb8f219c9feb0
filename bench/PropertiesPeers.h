// The libraries found on this machine that load settings files too; the build tells which.
#ifndef BENCH_PROPERTIES_PEERS_H
#define BENCH_PROPERTIES_PEERS_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#ifdef OSUPT_BENCH_BOOST
#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#endif
#ifdef OSUPT_BENCH_POCO
#include <Poco/Util/PropertyFileConfiguration.h>
#endif
#ifdef OSUPT_BENCH_GLIB
#include <glib.h>
#endif

struct PropertiesPeer {
    std::string name;
    bool wantsGroup;  // the file has to start with "[group]"
    std::function<std::shared_ptr<void>(const std::string& file)> load;
};

inline std::vector<PropertiesPeer> propertiesPeers() {
    std::vector<PropertiesPeer> peers;
#ifdef OSUPT_BENCH_BOOST
    peers.push_back({"Boost.PropertyTree", false, [](const std::string& file) {
                         auto tree = std::make_shared<boost::property_tree::ptree>();
                         boost::property_tree::read_ini(file, *tree);
                         return tree;
                     }});
#endif
#ifdef OSUPT_BENCH_POCO
    peers.push_back({"POCO", false, [](const std::string& file) {
                         using Configuration = Poco::Util::PropertyFileConfiguration;
                         return std::shared_ptr<void>(new Configuration(file), [](void* configuration) {
                             static_cast<Configuration*>(configuration)->release();
                         });
                     }});
#endif
#ifdef OSUPT_BENCH_GLIB
    peers.push_back({"GKeyFile", true, [](const std::string& file) {
                         std::shared_ptr<GKeyFile> keys(g_key_file_new(), g_key_file_free);
                         if (!g_key_file_load_from_file(keys.get(), file.c_str(), G_KEY_FILE_NONE, nullptr))
                             keys.reset();
                         return keys;
                     }});
#endif
    return peers;
}

#endif
