# The sample that ./run plays: two versions of a game tree, the server that publishes the second one, and what can be
# verified from outside. Sourced by ./run, which sets `build` and `sample`; all of it stays below `sample`.

published=$sample/published
tree=$sample/tree
server=$sample/server
home=$sample/home
release=$tree/Game/TessaloomLauncher/Release
game=Game/Tessaloom/Code/Current/Release

# Random bytes, but the same ones for the same name: blob NAME KIBIBYTES FILE
blob() {
    mkdir -p "$(dirname "$3")"
    head -c "$(($2 * 1024))" /dev/zero | openssl enc -aes-256-ctr -nosalt -pbkdf2 -pass "pass:$1" >"$3"
}

# Version 2, as the publisher has it. Names as players have them: blanks, "+", "%", letters outside ASCII.
make_published_tree() {
    cmake --install "$build" --prefix "$published" >/dev/null
    mkdir -p "$published/$game"
    cp "$build/samplegame/Tessaloom.exe" "$published/$game/"
    printf 'version = 2\nlooms = 12\n' >"$published/$game/settings.ini"
    blob textures 40960 "$published/Game/Tessaloom/Textures/textures.pak"
    blob garden 700 "$published/Game/Tessaloom/Worlds/Hanging Gardens/north + south.map"
    blob bridge 500 "$published/Game/Tessaloom/Worlds/Höhenzug/Brücke über den Fluß.map"
    blob wool 300 "$published/Game/Tessaloom/Worlds/100% Wool/pattern 50%.map"
    local number
    for number in {01..24}; do
        blob "pattern$number" 64 "$published/Game/Tessaloom/Patterns/Set $((10#$number % 4))/pattern $number.dat"
    done
    printf 'Tessaloom, version 2\n' >"$published/readme.txt"
}

# Version 1, as the player has it: files missing, changed and left over, one folder that has to go, and a game that
# is no program yet.
make_installed_tree() {
    cp -a "$published" "$tree"
    rm -r "$tree/List.txt" "$tree/Game/TessaloomLauncher"
    cmake --install "$build" --prefix "$tree" >/dev/null
    rm -r "$tree/Game/Tessaloom/Worlds/Hanging Gardens" "$tree/Game/Tessaloom/Patterns/Set 3"
    rm "$tree/Game/Tessaloom/Worlds/Höhenzug/Brücke über den Fluß.map"
    blob "old textures" 40960 "$tree/Game/Tessaloom/Textures/textures.pak"
    blob "old wool" 200 "$tree/Game/Tessaloom/Worlds/100% Wool/pattern 50%.map"
    printf 'version = 1\nlooms = 8\n' >"$tree/$game/settings.ini"
    printf 'Tessaloom, version 1\n' | tee "$tree/readme.txt" >"$tree/$game/Tessaloom.exe"
    blob "old sound" 100 "$tree/Game/Tessaloom/Sounds of version 1/loom.ogg"
    printf 'left over\n' >"$tree/Game/Tessaloom/left over.txt"
}

# A certificate for this run, and a home folder for the launcher in which it is trusted.
make_certificate() {
    mkdir -p "$server/temp" "$home/.pki/nssdb"
    openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj "/CN=Tessaloom sample" \
        -addext "subjectAltName=IP:127.0.0.1" -addext "extendedKeyUsage=serverAuth" \
        -keyout "$server/key.pem" -out "$server/certificate.pem" 2>/dev/null
    certutil -d "sql:$home/.pki/nssdb" -N --empty-password
    certutil -d "sql:$home/.pki/nssdb" -A -t "C,," -n "Tessaloom sample" -i "$server/certificate.pem"
}

# Replaces the names in the template: write_server_configuration HTTP_PORT HTTPS_PORT
write_server_configuration() {
    local text user=""
    # nginx gives up the rights of root where it has them, and could then not read a tree below root's home.
    ((EUID != 0)) || user="user $(id -un) $(id -gn);"
    text=$(<tools/sampleserver/nginx.conf.in)
    text=${text//@USER@/$user}
    text=${text//@HTTP_PORT@/$1}
    text=${text//@HTTPS_PORT@/$2}
    text=${text//@PUBLISHED@/"$published"}
    text=${text//@PATCH_NOTES@/"$PWD/tools/sampleserver/patchnotes.html"}
    printf '%s\n' "$text" >"$server/nginx.conf"
}

# The files of the list that the installed tree lacks or has otherwise, as the server should log them.
expected_requests() {
    local file
    echo "GET 200 $(stat -c %s "$published/List.txt") /LatestVersion/List.txt"
    while IFS= read -r file; do
        cmp -s "$published/$file" "$tree/$file" ||
            echo "GET 200 $(stat -c %s "$published/$file") /LatestVersion/$file"
    done < <(listed_paths F)
}

# listed_paths D|F: the paths of the list's records, with forward slashes.
listed_paths() {
    sed -n "s/^$1#\([^#]*\).*/\1/p" "$published/List.txt" | tr '\\' '/'
}

# "PATH#SIZE#DIGEST" of what the list names, and of what lies in the tree. The temporary folders belong to the
# launcher, "started.txt" to the sample game.
listed_files() {
    sed -n 's/^F#//p' "$published/List.txt" | tr '\\' '/' | LC_ALL=C sort
}
files_in_tree() {
    local digest file
    find "$tree" -type f ! -path '*/LAUNCHER_TEMP_EXE_FOLDER*' ! -path "$tree/$game/started.txt" \
        -exec sha256sum {} + | while read -r digest file; do
        echo "${file#"$tree/"}#$(stat -c %s "$file")#$digest"
    done | LC_ALL=C sort
}
