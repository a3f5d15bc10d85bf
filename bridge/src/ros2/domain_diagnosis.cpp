#include "ros2/domain_diagnosis.h"

#include <utility>

namespace bridge {

DomainDiagnosis::DomainDiagnosis(int domain, std::string interface, const Guid& own,
                                 EventLoop& loop, base::Lookups& lookups, Sink& sink)
    : fDomain(domain),
      fInterface(std::move(interface)),
      fOwn(own),
      fLoop(loop),
      fLookups(lookups),
      fSink(sink) {
}

void DomainDiagnosis::search() {
    if (fIsSearching) {
        return;
    }
    if (!fSearch) {
        fSearch = std::make_shared<DomainSearch>(fDomain, fInterface, fOwn);
    }
    fIsSearching = true;
    fLookups.start([this, search = fSearch] {
        const std::string problem = search->run();
        return [this, search, problem] {
            fLoop.post([this, search, problem] {
                fIsSearching = false;
                if (search != fSearch) {
                    return;  // somebody has been found
                }
                if (std::exchange(fProblem, problem) != problem) {
                    fSink.complain(problem);
                }
            });
        };
    });
}

void DomainDiagnosis::stop() {
    if (fSearch) {
        fSearch->stop();
        fSearch.reset();
    }
    fProblem.clear();
}

}  // namespace bridge
