# User-mode emulation of 32-bit programs for kernels without them, as in some virtual machines. It is
# registered with the kernel, so Wine starts as usual. Read by lib.sh.

# A folder for each word size: the dynamic linker fills in $LIB. Native programs that emulated ones start
# get an empty library, which avoids a warning.
emulation_shims=$root/build/emulation
emulation_handler=/proc/sys/fs/binfmt_misc/nyx-i386

# The loader of the 32-bit C library, which 32-bit Wine depends on, is a 32-bit program itself.
runs_32_bit_programs() { /lib/ld-linux.so.2 --version >/dev/null 2>&1 && [ ! -e "$emulation_handler" ]; }

# Sets up this shell for emulated programs if emulation is registered.
use_emulation() {
    [ -e "$emulation_handler" ] || return 0
    export QEMU_SET_ENV=LD_PRELOAD=$emulation_shims/\$LIB/trap_number.so
}
