#include <robaxi/kv_mutex.h>

boost::shared_ptr<KVMutex> KVMutex::createKVMutex() {
    return boost::shared_ptr<KVMutex>(new KVMutex);
}

boost::shared_ptr<KVMutexRW> KVMutexRW::createKVMutexRW() {
    return boost::shared_ptr<KVMutexRW>(new KVMutexRW);
}
