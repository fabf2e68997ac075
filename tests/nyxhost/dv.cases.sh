# DV as people have it: raw files and AVIs of ffmpeg, described frame by frame and played. The pictures
# are the stand-in engine's here.
use_engines
"$root/tests/dv/make_dv_frames.sh" dv

sound="2 channels, 48000 Hz, 16 bits"
recorded="recorded 2004-05-06 07:08:09"

# CLIP FOURCC SIZE FRAMES, then what its first frame says. 60 frames per second have two audio frames
# in every three of 525/60's sample counts, and a timecode for each pair.
describes() {
    run 0 info "dv/$1.dv"
    says "dv/$1.dv: $2, $3, 24 bits"
    says ", $4 frames,"
    says "$5"
}
describes dv25_525_4x3 QDVC 720x480 5 "DVCPRO25, 525/60, 720x480, 30000/1001, bottom field first, 4:3 (pixels 648:720); $sound, 1600 samples, unlocked; timecode 01:02:03;04; $recorded"
says "timecode 01:02:03;08" # the last frame
describes dv25_525_16x9 QDVC 720x480 5 "16:9 (pixels 864:720)"
describes dv25_625_4x3 QDVC 720x576 5 "DV25, 625/50, 720x576, 25, bottom field first, 4:3 (pixels 768:720); $sound, 1920 samples, unlocked; timecode 01:02:03:04"
describes dv25_625_16x9 QDVC 720x576 5 "16:9 (pixels 1024:720)"
describes dvcpro25_625 QDVC 720x576 5 "DVCPRO25, 625/50"
describes dvcpro50_525 QDV5 720x480 5 "DVCPRO50, 525/60, 720x480, 30000/1001, bottom field first, 4:3"
describes dvcpro50_625 QDV5 720x576 5 "DVCPRO50, 625/50, 720x576, 25, bottom field first, 16:9 (pixels 1024:720); 4 channels, 48000 Hz"
describes dvcprohd_1080_60 QDVH 1280x1080 5 "DVCPRO HD 1080i, 525/60, 1280x1080, 30000/1001, top field first, 16:9"
describes dvcprohd_1080_50 QDVH 1440x1080 5 "DVCPRO HD 1080i, 625/50, 1440x1080, 25, top field first, 16:9"
describes dvcprohd_720_60 QDVH 960x720 11 "DVCPRO HD 720p, 525/60, 960x720, 60000/1001, progressive, 16:9 (pixels 1280:960)"
describes dvcprohd_720_50 QDVH 960x720 9 "DVCPRO HD 720p, 625/50, 960x720, 50, progressive, 16:9"

run 0 info dv/dv25_625_silent.dv --json --frames 1
said=$(tr -d ' \n' <<<"$said")
says '"dv":{"recognised":true,"variant":"DV25","system":"625/50","size":[720,576],"frame_rate":"25","field_order":"bottomfieldfirst","pixel_aspect":"768:720","picture_aspect":"4:3","audio":null,"timecode":"01:02:03:04","recording_date":"2004-05-06","recording_time":"07:08:09"}'

# The same frames in ffmpeg's AVI, under the codes that it writes, give the same pictures.
for clip in dv25_525_16x9:dvsd dv25_625_4x3:DV25 dvcpro50_625:dv50 dvcprohd_1080_60:dvh1; do
    name=${clip%:*}
    quiet_ffmpeg -i "dv/$name.dv" -map 0:v -c copy -tag:v "${clip#*:}" "$name.avi"
    run 0 info "$name.avi" --frames 1
    says "$name.avi: ${clip#*:}, played as QDV"
    run 0 decode "dv/$name.dv" --format yuy2 --raw raw.samples
    run 0 decode "$name.avi" --format yuy2 --raw avi.samples
    holds "$name: raw file and AVI give the same pictures" cmp -s raw.samples avi.samples
done

# Damage: a frame that lost a block comes short and fails, the next ones are found; the last is cut.
{
    head -c 244800 dv/dv25_525_4x3.dv
    head -c 544800 dv/dv25_525_4x3.dv | tail -c +244881
} >damaged.dv
run 6 info damaged.dv
says "5 frames"
says "frame 2 could not be decoded"
says "frame 4 could not be decoded"
says "timecode 01:02:03;07"
head -c 80000 dv/dv25_525_4x3.dv >stump.dv
run 3 decode stump.dv
says "begins like DV"
use_no_engines
