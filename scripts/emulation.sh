# 32-bit programs on a kernel that runs none, as some virtual machines have it: user-mode emulation,
# registered with the kernel, so that Wine starts as everywhere. Read by lib.sh.

# A folder for each word size: the dynamic linker fills in $LIB, and native programs that emulated
# ones start get an empty library instead of a complaint.
emulation_shims=$root/build/emulation
emulation_handler=/proc/sys/fs/binfmt_misc/nyx-i386

# The loader of the 32-bit C library, which comes with 32-bit Wine, is a 32-bit program itself.
runs_32_bit_programs() { /lib/ld-linux.so.2 --version >/dev/null 2>&1 && [ ! -e "$emulation_handler" ]; }

# Lets this shell's programs run under emulation where it was set up.
use_emulation() {
    [ -e "$emulation_handler" ] || return 0
    export QEMU_SET_ENV=LD_PRELOAD=$emulation_shims/\$LIB/trap_number.so
}
