#include "ros2/domain_diagnosis.h"

#include <utility>

namespace bridge {

DomainDiagnosis::DomainDiagnosis(int domain, std::string interface, const Guid& own,
                                 EventLoop& loop, base::Lookups& lookups,
                                 std::function<void()> changed)
    : fDomain(domain),
      fInterface(std::move(interface)),
      fOwn(own),
      fLoop(loop),
      fLookups(lookups),
      fHasChanged(std::move(changed)) {
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
                if (search == fSearch) {  // nobody has been found since
                    xSet(problem);
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
    xSet({});
}

void DomainDiagnosis::xSet(const std::string& problem) {
    if (std::exchange(fProblem, problem) != problem) {
        fHasChanged();
    }
}

}  // namespace bridge
