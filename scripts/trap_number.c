/* Preloaded into emulated Wine. User-mode emulation leaves the trap number of a signal frame unset,
 * and Wine reads it to distinguish an access violation from an illegal instruction: this fills it in from
 * the signal before Wine's own handler runs. Freestanding, no thread-local storage: Wine handles
 * signals on threads whose segment registers are its own. */

enum { kTrapDivide = 0, kTrapDebug = 1, kTrapBreakpoint = 3, kTrapOpcode = 6, kTrapProtection = 13,
       kTrapPage = 14, kTrapFloat = 16, kTrapAlignment = 17, kTraps = 32 };
enum { kIllegal = 4, kTrap = 5, kBus = 7, kFloat = 8, kSegment = 11, kSignals = 65 };
enum { kSigInfo = 4, kIntegerDivide = 1, kTraceTrap = 2, kKernelCode = 0x80 };
/* ucontext: flags, link, stack of three words, then the registers of which trapno is the 13th. */
enum { kTrapNumberWord = 2 + 3 + 12, kCodeWord = 2 };

typedef void (*Handler)(int signal, int* info, unsigned* context);
struct Action {
    Handler handler;
    unsigned mask[32];
    int flags;
    void (*restorer)(void);
};
typedef int (*SigAction)(int signal, const struct Action* action, struct Action* old);

extern void* dlsym(void* handle, const char* name);

static Handler handlers[kSignals];
static SigAction next;

static unsigned TrapOf(int signal, int code) {
    switch (signal) {
        case kSegment:
            return code == kKernelCode ? kTrapProtection : kTrapPage;
        case kFloat:
            return code == kIntegerDivide ? kTrapDivide : kTrapFloat;
        case kTrap:
            return code == kTraceTrap ? kTrapDebug : kTrapBreakpoint;
        case kBus:
            return kTrapAlignment;
        default:
            return kTrapOpcode;
    }
}

static void FillTrapNumber(int signal, int* info, unsigned* context) {
    if (context[kTrapNumberWord] >= kTraps) {
        context[kTrapNumberWord] = TrapOf(signal, info[kCodeWord]);
    }
    handlers[signal](signal, info, context);
}

static int IsTrapSignal(int signal) {
    return signal == kSegment || signal == kFloat || signal == kIllegal || signal == kTrap ||
           signal == kBus;
}

int sigaction(int signal, const struct Action* action, struct Action* old) {
    if (!next) {
        next = (SigAction)dlsym((void*)-1, "sigaction");
    }
    if (!action || !(action->flags & kSigInfo) || !IsTrapSignal(signal) ||
        (unsigned)action->handler <= 1) {
        return next(signal, action, old);
    }
    struct Action filling = *action;
    Handler previous = handlers[signal];
    handlers[signal] = action->handler;
    filling.handler = FillTrapNumber;
    int result = next(signal, &filling, old);
    if (old && old->handler == FillTrapNumber) {
        old->handler = previous;
    }
    return result;
}
