#include "objects/values.h"

namespace TmxPLC {

DataSet& DataSet::operator=(const TmxDataSet& flat) {
    std::vector<DataSetEntry> copy(flat.count);
    for (std::size_t i = 0; i < copy.size(); ++i) {
        const TmxDataSetEntry& from = flat.items[i];
        std::memcpy(copy[i].words, from.words, sizeof copy[i].words);
        copy[i].number = from.number;
        copy[i].nameText.AssignTerminated(from.name);
    }
    entries = std::move(copy);
    flat_.clear();
    return *this;
}

TmxDataSet DataSet::Flat() const {
    flat_.resize(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const DataSetEntry& from = entries[i];
        TmxDataSetEntry& to = flat_[i];
        std::memcpy(to.words, from.words, sizeof to.words);
        to.number = from.number;
        to.padding = 0;
        to.name = from.nameText.c_str();
    }
    return {flat_.data(), flat_.size()};
}

}  // namespace TmxPLC
