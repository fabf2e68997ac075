# The registered module is listed as the system sees it, and no more once it is unregistered.
holds "regsvr32 registers" register
run 0 list
says "Rokka Q210 Decoder"
says "{3D1F4E99-3ADF-471E-8C1A-B7D678B4A238}"
says "DirectShow filters, merit 0x00800000"
says "in  video/Q210"
says "out video/any"
says "creation  works"
says "nyxcodecs.dll (Both)"
says "video compressors, merit 0x00200000"
says "in  video/YUY2, video/RGB32"

holds "regsvr32 unregisters" register /u
run 4 list
holds "regsvr32 registers again" register
