-- Asks Mixdesk for every shot, in its own order, and answers with one record
-- per shot: the shot's id and name as text and whether it is live (on
-- program) or in preview. The labels are user-defined (shotId, shotName,
-- isLive, isPreview), so each record keeps them in its user-field list.
tell application id "com.mixdesk.Mixdesk"
	set answer to {}
	repeat with aShot in (every shot of front document)
		set end of answer to {shotId:((id of aShot) as text), shotName:((name of aShot) as text), isLive:(live of aShot), isPreview:(preview of aShot)}
	end repeat
	return answer
end tell
